#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/Signal.h"
#include "limits/SpeedLimit.h"
#include "platform/MainLoop.h"
#include "platform/WallClock.h"
#include "settings/Preferences.h"

namespace tovri {

// Follows the preferences and the clock on the wall: gives the speed limit the rate that counts now, and says whether
// the timetable holds downloads.
class SpeedControl {
public:
    // What counts now.
    struct State {
        bool isOn = false;                    // the user's switch
        std::optional<BytesPerSecond> limit;  // none: as fast as bytes can come
        bool isHeld = false;                  // downloads wait; the limit is that of uploads
        std::string until;  // "18:00", "Mon 08:00": when the timetable says otherwise; empty where it says
                            // nothing now, or the same for ever

        bool operator==(const State&) const = default;
    };

    // All outlive the control.
    SpeedControl(MainLoop& loop, WallClock& clock, Preferences& preferences, SpeedLimit& limit);

    [[nodiscard]] const State& state() const { return state_; }

    // Why downloads are held, as the user sees it; none when they are not.
    [[nodiscard]] std::optional<std::string> holdReason() const;

    // "Held until 18:00", "5 MB/s until 08:00", "5 MB/s", "No limit".
    [[nodiscard]] std::string text() const;

    // The user's switch for all of it.
    void setOn(bool isOn) { preferences_.assign(preference::limitSpeed, isOn); }

    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void look();
    [[nodiscard]] State stateAt(Timestamp now, std::optional<Timestamp>& next) const;
    [[nodiscard]] std::string momentText(Timestamp moment, Timestamp now) const;

    MainLoop& loop_;
    WallClock& clock_;
    Preferences& preferences_;
    SpeedLimit& limit_;
    State state_;
    Signal<> changes_;
    Subscription timer_;
    Subscription following_;
};

}  // namespace tovri
