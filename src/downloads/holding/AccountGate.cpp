#include "downloads/holding/AccountGate.h"

namespace tovri {

void AccountGate::setAccount(const std::optional<std::string>& name) {
    isTold_ = true;
    account_ = name ? std::make_shared<const std::string>(*name) : nullptr;
    if (account_)
        for (const ConstDownloadPointer& item : list_.items())
            if (!item->account && !isFinished(item->status)) list_.changeable(*item)->account = account_;
    for (const std::string& what : list_.holds()) {
        const ConstDownloadPointer first = list_.firstHeldFor(what);
        if (first->hold->reason != Hold::Reason::account) continue;
        for (const DownloadPointer& item : list_.heldFor(what, [](const Download&) { return true; }))
            list_.release(*item);
    }
}

HoldPointer AccountGate::obstacle(const Download& item) const {
    if (!isTold_ || !item.account || (account_ && *account_ == *item.account)) return nullptr;
    auto hold = std::make_shared<Hold>();
    hold->reason = Hold::Reason::account;
    hold->what = "account " + *item.account;
    hold->text = "Waiting for the put.io account " + *item.account + ", in which it was queued";
    return hold;
}

void AccountGate::useAnyAccount(Download& item) {
    item.account = account_;
    if (item.status == DownloadStatus::queued && item.hold) list_.release(item);
}

}  // namespace tovri
