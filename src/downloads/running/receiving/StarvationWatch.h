#pragma once

#include <functional>
#include <utility>

#include "base/Bytes.h"
#include "platform/MainLoop.h"

namespace tovri {

// Looks from time to time whether enough has come since to be worth the waiting: for a transfer's slot once a minute.
class StarvationWatch {
public:
    static constexpr ByteCount enough = 4096;  // bytes in a period

    // `loop` outlives this. `received` says how many bytes have come so far; `starves` is told at the end of each
    // period in which too few came.
    StarvationWatch(MainLoop& loop, std::function<ByteCount()> received, std::function<void()> starves,
                    MainLoop::Duration period = std::chrono::minutes(1))
        : loop_(loop),
          received_(std::move(received)),
          starves_(std::move(starves)),
          period_(period),
          last_(received_()) {
        look();
    }

    StarvationWatch(const StarvationWatch&) = delete;
    StarvationWatch& operator=(const StarvationWatch&) = delete;

private:
    void look() {
        timer_ = loop_.schedule(period_, [this] {
            const ByteCount before = std::exchange(last_, received_());
            look();
            if (last_ - before < enough) starves_();
        });
    }

    MainLoop& loop_;
    std::function<ByteCount()> received_;
    std::function<void()> starves_;
    const MainLoop::Duration period_;
    ByteCount last_;
    Subscription timer_;
};

}  // namespace tovri
