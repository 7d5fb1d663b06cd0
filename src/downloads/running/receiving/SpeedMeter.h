#pragma once

#include <chrono>
#include <optional>

#include "base/Bytes.h"
#include "platform/MainLoop.h"

namespace tovri {

// How fast bytes arrive, measured at most every half second.
class SpeedMeter {
public:
    // `written` bytes were there before.
    explicit SpeedMeter(MainLoop::TimePoint now, ByteCount written = 0) : lastBytes_(written), lastTime_(now) {}

    // `written` counts from the file's first byte. The speed since the last sample; none when it is too early for
    // another one or nothing came.
    [[nodiscard]] std::optional<BytesPerSecond> sample(ByteCount written, MainLoop::TimePoint now) {
        const std::chrono::duration<double> elapsed = now - lastTime_;
        if (elapsed < std::chrono::milliseconds(500)) return std::nullopt;
        const BytesPerSecond rate = rateOf(written - lastBytes_, elapsed);
        lastBytes_ = written;
        lastTime_ = now;
        return rate > BytesPerSecond() ? std::optional(rate) : std::nullopt;
    }

private:
    ByteCount lastBytes_;
    MainLoop::TimePoint lastTime_;
};

}  // namespace tovri
