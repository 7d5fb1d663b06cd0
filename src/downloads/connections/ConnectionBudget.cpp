#include "downloads/connections/ConnectionBudget.h"

#include <algorithm>
#include <map>
#include <utility>

namespace tovri {

std::unique_ptr<ConnectionBudget::Share> ConnectionBudget::join(std::string host, std::function<void()> changed) {
    auto share = std::make_unique<Share>(*this, std::move(host), std::move(changed));
    divide();
    tell();
    return share;
}

// One for each, then one more for whoever has least and could use it, the earlier first.
void ConnectionBudget::divide() {
    std::map<std::string, int> left;
    for (Share* share : shares_) {
        share->granted_ = 1;
        --left.try_emplace(share->host_, perHost).first->second;
    }
    for (int round = 2; round <= perHost; ++round) {
        for (Share* share : shares_) {
            int& rest = left.at(share->host_);
            if (rest <= 0 || share->wanted_ < round) continue;
            share->granted_ = round;
            --rest;
        }
    }
}

// A share that is told may leave, or want another number.
void ConnectionBudget::tell() {
    while (true) {
        const auto untold =
            std::ranges::find_if(shares_, [](const Share* share) { return share->told_ != share->granted_; });
        if (untold == shares_.end()) return;
        Share* share = *untold;
        share->told_ = share->granted_;
        const auto changed = share->changed_;
        if (changed) changed();
    }
}

ConnectionBudget::Share::Share(ConnectionBudget& budget, std::string host, std::function<void()> changed)
    : budget_(budget), host_(std::move(host)), changed_(std::move(changed)) {
    budget_.shares_.push_back(this);
}

ConnectionBudget::Share::~Share() {
    budget_.shares_.remove(this);
    budget_.divide();
    budget_.tell();
}

void ConnectionBudget::Share::want(int count) {
    if (std::exchange(wanted_, count) == count) return;
    budget_.divide();
    told_ = granted_;
    budget_.tell();
}

}  // namespace tovri
