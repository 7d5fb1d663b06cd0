#pragma once

#include <functional>
#include <optional>

#include "platform/MainLoop.h"

namespace tovri {

// Gathers bursts of changes into one save: 0.4 seconds after an ordinary change, 5 seconds after progress.
class SaveSchedule {
public:
    enum class Urgency { soon, eventually };

    // `save` runs on the main thread when a deadline has come.
    SaveSchedule(MainLoop& loop, std::function<void()> save) : loop_(loop), save_(std::move(save)) {}

    // Nothing is saved before the saved queue was read: an empty one must not replace it.
    void open() { isOpen_ = true; }

    [[nodiscard]] bool isOpen() const { return isOpen_; }

    // Does nothing when a save is due at least as early already.
    void request(Urgency urgency);

    void cancel();

private:
    MainLoop& loop_;
    std::function<void()> save_;
    bool isOpen_ = false;
    std::optional<MainLoop::TimePoint> saveDeadline_;
    Subscription saveWorkItem_;
};

}  // namespace tovri
