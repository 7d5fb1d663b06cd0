#include "downloads/retrying/HostBrake.h"

#include <algorithm>
#include <utility>

#include "service/requests/WebURL.h"

namespace tovri {

// --- Passes ---

HostBrake::Pass::Pass(Pass&& other) noexcept
    : brake_(std::exchange(other.brake_, nullptr)), who_(other.who_), isProbe_(other.isProbe_) {}

HostBrake::Pass::~Pass() {
    if (brake_ && isProbe_) brake_->gaveUp();
}

void HostBrake::Pass::succeeded() {
    if (auto* brake = std::exchange(brake_, nullptr)) brake->answered(isProbe_);
}

bool HostBrake::Pass::failed(const Fault& fault) {
    auto* brake = std::exchange(brake_, nullptr);
    return brake && brake->failed(fault, who_, isProbe_);
}

// --- The brake ---

std::optional<HostBrake::Pass> HostBrake::enter(const UUID& who) {
    const TimePoint now = loop_.now();
    const bool isProbe = isClosed();
    if (isProbing_ || (isProbe ? *closedUntil_ : pace_.next(now)) > now) return std::nullopt;
    if (isProbe) isProbing_ = true;
    pace_.noteSent(now);
    return Pass(*this, who, isProbe);
}

std::optional<HostBrake::TimePoint> HostBrake::next() const {
    if (isProbing_) return std::nullopt;
    return closedUntil_ ? *closedUntil_ : pace_.next(loop_.now());
}

// What was sent before the brake closed does not open it.
void HostBrake::answered(bool isProbe) {
    pace_.noteTaken(loop_.now());
    doubters_.clear();
    if (isProbe) open();
}

bool HostBrake::failed(const Fault& fault, const UUID& who, bool isProbe) {
    if (isToBlame(fault, who, isProbe)) {
        close(fault, isProbe);
        return true;
    }
    if (isProbe) open();
    return false;
}

bool HostBrake::isToBlame(const Fault& fault, const UUID& who, bool isProbe) {
    switch (fault.blame) {
        case Fault::Blame::host:
            return true;
        case Fault::Blame::perhapsHost:
            doubters_.insert(who);
            return isClosed() || doubters_.size() > 1;
        case Fault::Blame::item:
            break;
    }
    return isProbe && !fault.hasAnswered;  // nobody knows yet
}

// What was sent before it closed says nothing new when it fails too, but when to come back.
void HostBrake::close(const Fault& fault, bool isProbe) {
    const TimePoint now = loop_.now();
    const bool isNew = isProbe || !isClosed();
    if (isNew && !isProbe && fault.isRefusedForPace) pace_.slowDown(now);
    if (isProbe) isProbing_ = false;
    if (isNew) {
        reason_ = fault.reason;
        const MainLoop::Duration delay = backoff_.next();
        closedUntil_ = now + std::max<MainLoop::Duration>(delay, fault.comeBack.value_or(std::chrono::seconds(0)));
    } else if (fault.comeBack) {
        closedUntil_ = std::max(*closedUntil_, now + *fault.comeBack);
    }
    timer_ = loop_.schedule(*closedUntil_ - now, [this] { changes_.tell(); });
    tellSoon();
}

void HostBrake::gaveUp() {
    isProbing_ = false;
    tellSoon();
}

void HostBrake::open() {
    closedUntil_.reset();
    isProbing_ = false;
    doubters_.clear();
    backoff_.reset();
    timer_.reset();
    hasOpened_ = true;
    tellSoon();
}

void HostBrake::tellSoon() {
    telling_ = loop_.schedule(MainLoop::Duration::zero(), [this] {
        changes_.tell();
        if (std::exchange(hasOpened_, false) && !isClosed()) openings_.tell();
    });
}

// --- All of them ---

HostBrake& HostBrakes::of(const std::string& host) {
    const auto found = brakes_.find(host);
    if (found != brakes_.end()) return found->second.brake;
    Entry& entry =
        brakes_.emplace(std::piecewise_construct, std::forward_as_tuple(host), std::forward_as_tuple(loop_, random_))
            .first->second;
    entry.opening = entry.brake.onOpening([this, host] {
        if (tell_) tell_(host);
    });
    return entry.brake;
}

std::string hostOf(const std::string& link) {
    const auto url = parseWebURL(link);
    return url ? url->host + ":" + url->port : link;
}

}  // namespace tovri
