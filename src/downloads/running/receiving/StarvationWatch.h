#pragma once

#include <functional>
#include <utility>

#include "base/Bytes.h"
#include "platform/MainLoop.h"

namespace tovri {

// Looks once a minute whether a transfer has brought enough in it to be worth a slot.
class StarvationWatch {
public:
    static constexpr ByteCount enough = 4096;  // in a minute

    // `loop` outlives this. `received` says how many bytes have come so far; `starves` is told at each minute's end in
    // which too few came.
    StarvationWatch(MainLoop& loop, std::function<ByteCount()> received, std::function<void()> starves)
        : loop_(loop), received_(std::move(received)), starves_(std::move(starves)), last_(received_()) {
        look();
    }

    StarvationWatch(const StarvationWatch&) = delete;
    StarvationWatch& operator=(const StarvationWatch&) = delete;

private:
    void look() {
        timer_ = loop_.schedule(std::chrono::minutes(1), [this] {
            const ByteCount before = std::exchange(last_, received_());
            look();
            if (last_ - before < enough) starves_();
        });
    }

    MainLoop& loop_;
    std::function<ByteCount()> received_;
    std::function<void()> starves_;
    ByteCount last_;
    Subscription timer_;
};

}  // namespace tovri
