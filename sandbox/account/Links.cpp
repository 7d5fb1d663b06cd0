#include "sandbox/account/Links.h"

namespace tovri::sandbox {

std::uint64_t Links::issue() {
    const std::scoped_lock lock(mutex_);
    issuedAt_.push_back(Clock::now());
    return issuedAt_.size();
}

void Links::expire(std::uint64_t link, int status) {
    const std::scoped_lock lock(mutex_);
    expired_[link] = status;
}

std::optional<int> Links::refusal(std::uint64_t link) const {
    const std::scoped_lock lock(mutex_);
    if (const auto found = expired_.find(link); found != expired_.end()) return found->second;
    const bool isKnown = link > 0 && link <= issuedAt_.size();
    if (lifetime_ && isKnown && Clock::now() - issuedAt_[link - 1] > *lifetime_) return 403;
    return std::nullopt;
}

}  // namespace tovri::sandbox
