#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "base/Signal.h"
#include "base/UUID.h"
#include "downloads/retrying/Backoff.h"
#include "downloads/retrying/Fault.h"
#include "downloads/retrying/RequestPace.h"

namespace tovri {

// Holds back all that asks one host while that is away or wants to be left alone: then one at a time tries for all, and
// the first one that is answered lets the others go. Keeps requests to the pace that the host takes.
class HostBrake {
public:
    using TimePoint = MainLoop::TimePoint;

    // Leave to ask the host once. Its holder says how that went, and says nothing where it gave up. Does not outlive
    // the brake.
    class Pass {
    public:
        Pass(Pass&& other) noexcept;
        Pass& operator=(Pass&&) = delete;
        ~Pass();

        // The host has answered. May be said more than once.
        void succeeded();

        // Whether the host is at fault, and held back from now on.
        bool failed(const Fault& fault);

    private:
        friend class HostBrake;

        Pass(HostBrake& brake, const UUID& who, bool isProbe) : brake_(&brake), who_(who), isProbe_(isProbe) {}

        HostBrake* brake_;  // null once it was said
        UUID who_;
        bool isProbe_;
    };

    // What the references name outlives the brake.
    HostBrake(MainLoop& loop, RandomSource& random) : loop_(loop), backoff_(random) {}

    HostBrake(const HostBrake&) = delete;
    HostBrake& operator=(const HostBrake&) = delete;

    // None while it has to wait. `who` tells one item from another.
    [[nodiscard]] std::optional<Pass> enter(const UUID& who);

    [[nodiscard]] bool isClosed() const { return closedUntil_.has_value(); }

    // Whether the host takes requests as they come: then there may be some that could wait.
    [[nodiscard]] bool isFree() const { return !isClosed() && !pace_.isKept(loop_.now()); }

    // When to enter again; none while another tries for all.
    [[nodiscard]] std::optional<TimePoint> next() const;

    // Why it is closed: a part of a sentence.
    [[nodiscard]] const std::string& reason() const { return reason_; }

    // Told, in a turn of its own, when it may be worth entering again, or `next` has changed.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

    // Told likewise when all may go again.
    Subscription onOpening(std::function<void()> tell) { return openings_.subscribe(std::move(tell)); }

private:
    void answered(bool isProbe);
    [[nodiscard]] bool failed(const Fault& fault, const UUID& who, bool isProbe);
    void gaveUp();
    [[nodiscard]] bool isToBlame(const Fault& fault, const UUID& who, bool isProbe);
    void close(const Fault& fault, bool isProbe);
    void open();
    void tellSoon();

    MainLoop& loop_;
    Backoff backoff_;
    RequestPace pace_;
    std::optional<TimePoint> closedUntil_;  // then one may try
    bool isProbing_ = false;                // while it is closed
    std::string reason_;
    std::set<UUID> doubters_;  // items that met what may be the host's fault since it last answered
    Signal<> changes_;
    Signal<> openings_;
    Subscription timer_;    // at `closedUntil_`
    Subscription telling_;  // a turn later: whoever says how it went may be on its way out
    bool hasOpened_ = false;
};

// One brake for each host. Owned by the download manager.
class HostBrakes {
public:
    // Stands for the service's interface, wherever that is.
    static constexpr const char* service = "put.io";

    HostBrakes(MainLoop& loop, RandomSource& random) : loop_(loop), random_(random) {}

    [[nodiscard]] HostBrake& of(const std::string& host);

    // Given the host whose brake has opened.
    void onOpening(std::function<void(const std::string& host)> tell) { tell_ = std::move(tell); }

private:
    struct Entry {
        Entry(MainLoop& loop, RandomSource& random) : brake(loop, random) {}

        HostBrake brake;
        Subscription opening;
    };

    MainLoop& loop_;
    RandomSource& random_;
    std::function<void(const std::string& host)> tell_;
    std::map<std::string, Entry> brakes_;
};

// The host that a link leads to, with its port.
[[nodiscard]] std::string hostOf(const std::string& link);

}  // namespace tovri
