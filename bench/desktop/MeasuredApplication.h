#pragma once

#include <QApplication>
#include <string>
#include <vector>

namespace tovri::bench {

// Times how long each event holds the main loop, with all that it sends while it is handled.
class MeasuredApplication final : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override;

    // In milliseconds, since the last call.
    [[nodiscard]] std::vector<double> takeHolds();

private:
    int depth_ = 0;
    std::vector<double> holds_;
};

// Seconds of the monotonic clock, and of the processor's time that the process has taken.
[[nodiscard]] double monotonicSeconds();
[[nodiscard]] double processorSeconds();

// A line of /proc/self/status, in MiB.
[[nodiscard]] double processMemory(const std::string& name);

// The share of the values, 0 to 1, is not above it.
[[nodiscard]] double quantile(std::vector<double> values, double share);

}  // namespace tovri::bench
