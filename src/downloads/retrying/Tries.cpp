#include "downloads/retrying/Tries.h"

#include <algorithm>
#include <utility>

#include "base/Sentence.h"
#include "platform/Await.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

constexpr MainLoop::Duration longestInSlot = 60s;
constexpr MainLoop::Duration longestInNextSlot = 10s;
constexpr MainLoop::Duration pauseOfStarved = 60s;

}  // namespace

Tries::Tries(Ports ports, Kind kind, MainLoop::Duration patience)
    : ports_(ports),
      kind_(kind),
      id_(ports.random.makeUUID()),
      backoff_(ports.random),
      limit_(patience),
      patience_(patience),
      notBefore_(ports.loop.now()) {}

// --- Before a try ---

Task<Result<HostBrake::Pass>> Tries::begin(std::string host, std::stop_token stop) {
    host_ = std::move(host);
    while (!stop.stop_requested()) {
        if (notBefore_ <= ports_.loop.now()) {
            if (std::optional<HostBrake::Pass> pass = ports_.brakes.of(host_).enter(id_)) {
                tell(nullptr);
                patience_.beginsTry(ports_.loop.now());
                co_return std::move(*pass);
            }
        }
        Result<void> waited = co_await wait(stop);
        if (!waited) co_return failure(waited);
    }
    tell(nullptr);
    co_return failure(Error::cancelled());
}

// A short while, or until something has changed.
Task<Result<void>> Tries::wait(std::stop_token stop) {
    const TimePoint now = ports_.loop.now();
    TimePoint until = nextTime().value_or(now + 1s);
    if (isHeldBack()) {
        if (Result<void> mayWait = this->mayWait(); !mayWait) co_return mayWait;
        tell(hold());
        if (ports_.brakes.of(host_).isClosed()) isLosingPatience_ = false;  // the host has turned out to be at fault
        until = std::min({until, now + 1s, *inSlotSince_ + longestWait()});
    }
    using Changed = std::monostate;
    Result<Changed> changed = co_await Answer<Changed>(ports_.loop, stop, [&](auto done) {
        auto wake = std::make_shared<decltype(done)>(std::move(done));
        auto timer = ports_.loop.schedule(until - now, [wake] { (*wake)(Changed()); });
        auto change = ports_.brakes.of(host_).onChange([wake] { (*wake)(Changed()); });
        return Subscription([timer = std::move(timer), change = std::move(change)]() mutable {
            timer.reset();
            change.reset();
        });
    });
    if (!changed) tell(nullptr);
    if (!changed) co_return failure(changed);
    co_return Result<void>();
}

MainLoop::Duration Tries::longestWait() const {
    if (kind_ == Kind::listing) return limit_;
    return hasYielded_ ? longestInNextSlot : longestInSlot;
}

Result<void> Tries::mayWait() {
    startWaiting();
    const TimePoint limit = *inSlotSince_ + longestWait();
    const bool isInVain = hasYielded_ && nextTime() > limit;  // it would have to give the slot back all the same
    if (ports_.loop.now() < limit && !isInVain) return {};
    if (kind_ == Kind::item)
        mustYield_ = true;
    else
        isUsedUp_ = true;
    const HoldPointer waited = hold();
    tell(nullptr);
    return failure(last_.value_or(Error(ErrorCase::transport, asSentence(waited->text))));
}

void Tries::startWaiting() {
    if (!waitsSince_) waitsSince_ = ports_.loop.now();
    if (!inSlotSince_) inSlotSince_ = ports_.loop.now();
}

// With its slot it may wait again, or whatever it has found out until then would be in vain.
bool Tries::takeYield() {
    if (!std::exchange(mustYield_, false)) return false;
    inSlotSince_.reset();
    hasYielded_ = true;
    return true;
}

// By more than the pace of its requests.
bool Tries::isHeldBack() const {
    return notBefore_ > ports_.loop.now() || ports_.brakes.of(host_).isClosed();
}

std::optional<Tries::TimePoint> Tries::nextTime() const {
    const auto host = ports_.brakes.of(host_).next();
    return host ? std::optional(std::max(*host, notBefore_)) : std::nullopt;
}

HoldPointer Tries::hold() const {
    const TimePoint now = ports_.loop.now();
    const HostBrake& brake = ports_.brakes.of(host_);
    const bool isOfHost = brake.isClosed() && brake.next().value_or(now) >= notBefore_;
    const auto next = nextTime();
    auto hold = std::make_shared<Hold>();
    hold->reason = Hold::Reason::service;
    hold->what = isOfHost ? Hold::host(host_) : "item " + id_.text();
    hold->text = "Waiting for put.io: " + (isOfHost ? brake.reason() : reason_);
    if (next) hold->until = ports_.clock.now() + std::chrono::duration_cast<Timestamp::duration>(*next - now);
    return hold;
}

void Tries::tell(HoldPointer hold) {
    const bool isWait = hold != nullptr;
    if (!std::exchange(isWaitTold_, isWait) && !isWait) return;
    if (tell_) tell_(std::move(hold));
}

// --- After a try ---

bool Tries::mayTryAgain(HostBrake::Pass pass, const Error& error) {
    const TimePoint now = ports_.loop.now();
    const std::optional<Fault> fault = faultOf(error);
    if (!fault) {
        pass.succeeded();
        return false;
    }
    reason_ = fault->reason;
    last_ = error;
    startWaiting();
    const bool isOfHost = pass.failed(*fault);
    const bool isTold = fault->comeBack && *fault->comeBack > 0s;
    MainLoop::Duration delay = fault->comeBack.value_or(0s);
    if (!isOfHost && !fault->isOver) delay = std::max(delay, backoff_.next());
    notBefore_ = isOfHost ? now : now + delay;
    isLosingPatience_ = !isOfHost && !isTold && !fault->isOver;
    if (isLosingPatience_) patience_.failsTry(now, delay);
    isUsedUp_ = patience_.isUsedUp();
    if (!isUsedUp_) tellFailure(error.description);
    return !isUsedUp_;
}

void Tries::succeeds() {
    if (kind_ == Kind::listing) gains();
}

void Tries::gains() {
    backoff_.reset();
    patience_.gains(ports_.loop.now());
    waitsSince_.reset();
    inSlotSince_.reset();
    hasYielded_ = false;
    isLosingPatience_ = false;
    links_ = 0;
    tell(nullptr);
}

void Tries::isStarved() {
    const TimePoint now = ports_.loop.now();
    reason_ = "hardly anything came for a minute";
    startWaiting();
    notBefore_ = now + pauseOfStarved;
    mustYield_ = true;
    tellFailure("Hardly anything came for a minute.");
}

void Tries::tellFailure(const std::string& what) const {
    if (tellFailure_) tellFailure_(asSentence(what));
}

}  // namespace tovri
