#pragma once

#include <memory>
#include <optional>

#include "base/Bytes.h"
#include "platform/ByteAllowance.h"
#include "platform/MainLoop.h"

namespace tovri {

// A rate that all transfers together keep to. Many times a second the main loop deals out what has become free since:
// in equal shares, of which each takes no more than it moves, so that the rest goes to those that could use it. What
// nobody uses is kept for an instant only.
class SpeedLimit {
public:
    // `loop` outlives the limit.
    explicit SpeedLimit(MainLoop& loop);
    SpeedLimit(const SpeedLimit&) = delete;
    SpeedLimit& operator=(const SpeedLimit&) = delete;
    ~SpeedLimit();

    // From now on, also for the transfers under way. None: as fast as they can.
    void set(std::optional<BytesPerSecond> rate);

    [[nodiscard]] std::optional<BytesPerSecond> rate() const { return rate_; }

    // One transfer's share, for as long as somebody has it, which may be longer than the limit lives: then it is as if
    // there was none.
    [[nodiscard]] std::shared_ptr<ByteAllowance> join();

private:
    class Share;
    class Pool;

    void beginToDeal();
    void deal();
    void dealLater();

    MainLoop& loop_;
    std::shared_ptr<Pool> pool_;
    std::optional<BytesPerSecond> rate_;
    double free_ = 0;  // bytes that nobody has got yet
    MainLoop::TimePoint lastDealt_;
    Subscription timer_;
};

}  // namespace tovri
