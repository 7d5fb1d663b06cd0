#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "platform/DiagnosticLog.h"
#include "platform/MainLoop.h"

namespace tovri {

// Hands diagnostic lines on, and keeps the last ones for the user to look at. Lines may come on any thread; everything
// else belongs to the main thread.
class KeptLog final : public DiagnosticLog {
public:
    static constexpr std::size_t mostLines = 10'000;

    // Both outlive the log. Whoever reads is told on `loop`.
    KeptLog(DiagnosticLog& log, MainLoop& loop) : log_(log), loop_(loop) {}

    void line(std::string_view text) override;

    // The oldest first.
    [[nodiscard]] std::vector<std::string> lines() const;

    // Told of each line, a moment after it was written.
    Subscription onLine(std::function<void(const std::string& line)> tell) { return told_.subscribe(std::move(tell)); }

private:
    DiagnosticLog& log_;
    MainLoop& loop_;
    mutable std::mutex mutex_;
    std::deque<std::string> lines_;
    Signal<const std::string&> told_;
};

}  // namespace tovri
