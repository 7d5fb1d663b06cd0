#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

#include "base/Signal.h"
#include "platform/MainLoop.h"

namespace tovri {

// What the bar at the foot of the window says.
struct Notice {
    enum class Kind : std::uint8_t {
        answer,   // to what the user has just done
        failure,  // of what nothing else on the screen speaks
    };

    Kind kind = Kind::answer;
    std::string text = {};
    std::string action = {};  // the title of its one button, or empty
    std::function<void()> perform = {};
};

// The notices of the whole window, one at a time and each for ten seconds, or until it is closed. A new answer takes
// the place of the one before it. A failure waits until what is shown has gone, and is not told twice.
class Notices {
public:
    // `loop` outlives the notices.
    explicit Notices(MainLoop& loop) : loop_(loop) {}

    // Told when another one is shown, or none.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

    // Null for none; good until the next change.
    [[nodiscard]] const Notice* shown() const { return notices_.empty() ? nullptr : &notices_.front(); }

    void tell(Notice notice);

    // Takes the answer away, if there is one: what it offers cannot be had any more.
    void withdrawAnswer();

    // --- What the user does ---

    // The notice goes, and its action is done.
    void perform();
    void close();

private:
    void showNext();

    MainLoop& loop_;
    std::deque<Notice> notices_;  // the first one is shown
    Signal<> changes_;
    Subscription end_;
};

}  // namespace tovri
