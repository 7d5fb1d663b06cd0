#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "base/Result.h"
#include "base/Task.h"
#include "downloads/list/Hold.h"
#include "downloads/retrying/HostBrake.h"
#include "downloads/retrying/Patience.h"
#include "platform/WallClock.h"

namespace tovri {

// The tries of one errand, of an item or of a listing: when the next one may begin, what is waited for until then, and
// when it is enough. Asks nobody itself. An item keeps it from one run to the next while it fails.
class Tries {
public:
    using TimePoint = MainLoop::TimePoint;

    // All of it outlives the waiting.
    struct Ports {
        MainLoop& loop;
        RandomSource& random;
        const WallClock& clock;
        HostBrakes& brakes;
    };

    enum class Kind {
        item,     // has a slot, which it gives back when it waits for long; waits for the network without end
        listing,  // its patience ends whoever is at fault
    };

    Tries(Ports ports, Kind kind, MainLoop::Duration patience);

    // Given what is waited for, about once a second, and null when that is over.
    void onWait(std::function<void(HoldPointer)> tell) { tell_ = std::move(tell); }

    // Given what went wrong in each try that another one follows, as a sentence.
    void onFailure(std::function<void(std::string)> tell) { tellFailure_ = std::move(tell); }

    // Returns when the host may be asked. Fails when that is not to be waited for here: see mustYield.
    Task<Result<HostBrake::Pass>> begin(std::string host, std::stop_token stop);

    // A try has ended with this. False when there is no other one.
    [[nodiscard]] bool mayTryAgain(HostBrake::Pass pass, const Error& error);

    // What was asked for has come; of a listing that is a gain.
    void succeeds();

    // A byte has come that had not come before: nothing is waited for, as far as anybody can see.
    void gains();

    // A link was refused. False when it is not worth asking for another.
    [[nodiscard]] bool mayAskForLink() { return links_++ < mostLinks; }

    // So little comes that the slot is of more use to another.
    void isStarved();

    // Something has failed, or kept it from trying, since the last new byte.
    [[nodiscard]] bool isStruggling() const { return waitsSince_.has_value(); }

    // What failed is its own, so that it fails for good some time.
    [[nodiscard]] bool isLosingPatience() const { return isLosingPatience_; }

    // It fails for good, and not by anything that starting over would mend.
    [[nodiscard]] bool isUsedUp() const { return isUsedUp_; }

    // Takes back that the slot is to be given to another; says whether it was.
    [[nodiscard]] bool takeYield();

    // What it waits for before the next try.
    [[nodiscard]] HoldPointer hold() const;

private:
    static constexpr int mostLinks = 3;

    Task<Result<void>> wait(std::stop_token stop);
    [[nodiscard]] Result<void> mayWait();
    void startWaiting();
    [[nodiscard]] MainLoop::Duration longestWait() const;
    [[nodiscard]] bool isHeldBack() const;
    [[nodiscard]] std::optional<TimePoint> nextTime() const;
    void tell(HoldPointer hold);
    void tellFailure(const std::string& what) const;

    Ports ports_;
    Kind kind_;
    UUID id_;
    Backoff backoff_;
    MainLoop::Duration limit_;
    Patience patience_;
    std::string host_;    // that is asked next
    std::string reason_;  // of the last failure
    std::optional<Error> last_;
    TimePoint notBefore_;
    std::optional<TimePoint> waitsSince_;
    std::optional<TimePoint> inSlotSince_;  // the same, without what it waited before it had this slot
    bool hasYielded_ = false;               // since the last byte
    int links_ = 0;
    bool mustYield_ = false;
    bool isLosingPatience_ = false;
    bool isUsedUp_ = false;
    bool isWaitTold_ = false;
    std::function<void(HoldPointer)> tell_;
    std::function<void(std::string)> tellFailure_;
};

}  // namespace tovri
