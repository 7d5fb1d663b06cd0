#pragma once

#include <functional>
#include <optional>

#include "base/Bytes.h"
#include "platform/MainLoop.h"

namespace tovri {

// Gathers bursts of changes into one save: 0.4 seconds after an ordinary change, 5 seconds after progress. While the
// queue file is long, what the user did not do waits until it can be written at 2 MiB a second on average.
class SaveSchedule {
public:
    enum class Urgency {
        soon,        // the user has changed something
        gathered,    // as soon, while the file is short: a transfer has begun or ended
        eventually,  // progress
    };

    // `save` runs on the main thread when a deadline has come.
    SaveSchedule(MainLoop& loop, std::function<void()> save) : loop_(loop), save_(std::move(save)) {}

    // Nothing is saved before the saved queue was read: an empty one must not replace it.
    void open() { isOpen_ = true; }

    [[nodiscard]] bool isOpen() const { return isOpen_; }

    // Does nothing when a save is due at least as early already.
    void request(Urgency urgency);

    void cancel();

    // What the next save is going to cost: the queue file's size, as far as it is known.
    void setFileSize(ByteCount size) { fileSize_ = size; }

    // A save begins now, for whatever reason.
    void noteSave() { lastSave_ = loop_.now(); }

private:
    // From when on another save is within the rate.
    [[nodiscard]] MainLoop::TimePoint affordable() const;

    MainLoop& loop_;
    std::function<void()> save_;
    bool isOpen_ = false;
    ByteCount fileSize_ = 0;
    std::optional<MainLoop::TimePoint> lastSave_;
    std::optional<MainLoop::TimePoint> saveDeadline_;
    Subscription saveWorkItem_;
};

}  // namespace tovri
