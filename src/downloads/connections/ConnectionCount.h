#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "base/Bytes.h"
#include "platform/MainLoop.h"

namespace tovri {

// How many connections one file is worth: one at first, then 2, 4 and 6, as long as the last step raised what comes in
// a second by at least 15 %. A step that did not is taken back, and is tried again some time later, as lines change.
// Its owner opens and ends the connections, and says what comes over them.
class ConnectionCount {
public:
    using TimePoint = MainLoop::TimePoint;
    using Duration = MainLoop::Duration;

    // What comes is measured over this time at the shortest; before a step is taken back, over the longer one.
    static constexpr Duration window = std::chrono::milliseconds(500);
    static constexpr Duration longWindow = 3 * window;

    // What comes as fast as this, in a second, is not held up by its connections: more would only cost.
    static constexpr ByteCount fastEnough = ByteCount{256} << 20U;

    // After which a step that was taken back is tried again.
    static constexpr Duration patience = std::chrono::seconds(30);

    [[nodiscard]] int wanted() const { return steps.at(step_); }

    // What has come so far, over the connections `running`, which are those that have brought something. To be told
    // some times a second.
    void measure(TimePoint now, int running, ByteCount received);

    // One of several connections broke: the step is taken back.
    void noteBreak(TimePoint now) { stepBack(now); }

    // The server does not want so many: the step is taken back for good.
    void noteRefusal(TimePoint now);

private:
    static constexpr std::array steps{1, 2, 4, 6};

    struct Window {
        TimePoint begin;
        ByteCount received = 0;
    };

    void stepUp(TimePoint now, double rate);
    void stepBack(TimePoint now);

    std::size_t step_ = 0;
    std::size_t highest_ = steps.size() - 1;
    std::optional<double> before_;  // bytes a second before the last step, until that is judged
    std::optional<Window> window_;  // none while connections come or go
    std::optional<TimePoint> notBefore_;
};

}  // namespace tovri
