#pragma once

#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <utility>

#include "platform/TransferSession.h"

namespace tovri::test {

// Keeps what it is given, as long as it has room. Its operations run on any thread.
class GatheringReceiver final : public ByteReceiver {
public:
    static constexpr int unlimited = std::numeric_limits<int>::max();

    // Has room for so many pieces, and says `whenFull` to all others.
    explicit GatheringReceiver(int pieces = unlimited, Taken whenFull = Taken::none)
        : room_(pieces), whenFull_(whenFull) {}

    // Runs on the session's thread whenever it has become full. May make room.
    std::function<void()> onFull = [] {};

    Taken take(std::string_view bytes) override {
        const std::lock_guard lock(mutex_);
        if (room_ == 0) return whenFull_;
        if (room_ != unlimited) --room_;
        bytes_ += bytes;
        return Taken::all;
    }

    void whenReady(std::move_only_function<void()> ready) override {
        {
            const std::lock_guard lock(mutex_);
            ready_ = std::move(ready);
        }
        onFull();
    }

    void makeRoom(int pieces) { change(pieces, Taken::none); }

    // From now on.
    void refuse() { change(0, Taken::refused); }

    // Whether somebody waits for room.
    [[nodiscard]] bool isFull() const {
        const std::lock_guard lock(mutex_);
        return static_cast<bool>(ready_);
    }

    [[nodiscard]] std::string bytes() const {
        const std::lock_guard lock(mutex_);
        return bytes_;
    }

private:
    void change(int room, Taken whenFull) {
        std::move_only_function<void()> ready;
        {
            const std::lock_guard lock(mutex_);
            room_ = room;
            whenFull_ = whenFull;
            ready = std::exchange(ready_, nullptr);
        }
        if (ready) ready();
    }

    mutable std::mutex mutex_;
    int room_;
    Taken whenFull_;
    std::string bytes_;
    std::move_only_function<void()> ready_;
};

}  // namespace tovri::test
