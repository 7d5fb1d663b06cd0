#pragma once

#include <QObject>
#include <mutex>
#include <vector>

#include "platform/MainLoop.h"

namespace tovri {

// The main loop of a program with a desktop: jobs run among Qt's own events. Whoever constructs it is the main thread,
// which has its QCoreApplication by then.
class QtMainLoop final : public MainLoop {
public:
    QtMainLoop() = default;
    QtMainLoop(const QtMainLoop&) = delete;
    QtMainLoop& operator=(const QtMainLoop&) = delete;

    [[nodiscard]] TimePoint now() const override { return std::chrono::steady_clock::now(); }

    void post(Job job) override;
    Subscription schedule(Duration delay, Job job) override;

private:
    void runPosted();

    std::mutex mutex_;  // guards posted_
    std::vector<Job> posted_;
    QObject receiver_;  // its going takes what waits along
};

}  // namespace tovri
