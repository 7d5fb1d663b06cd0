#pragma once

#include <memory>
#include <optional>
#include <string>

#include "downloads/list/DownloadList.h"

namespace tovri {

// Lets items start in the account alone in which they were queued: in another one the same numbers name other files.
// An item of no account becomes one of whoever is signed in next. Before anybody says whose account is signed in, all
// may start.
class AccountGate {
public:
    // `list` outlives the gate.
    explicit AccountGate(DownloadList& list) : list_(list) {}

    // None: somebody is signed in, and nobody knows yet in which account. Marks items of no account as this one's, and
    // lets all go that wait for another.
    void setAccount(const std::optional<std::string>& name);

    // Why the item may not start now, or null.
    [[nodiscard]] HoldPointer obstacle(const Download& item) const;

    // The user wants the item to come from whatever account is signed in.
    void useAnyAccount(Download& item);

    // Of a new item; null where nobody knows.
    [[nodiscard]] const std::shared_ptr<const std::string>& account() const { return account_; }

private:
    DownloadList& list_;
    bool isTold_ = false;
    std::shared_ptr<const std::string> account_;
};

}  // namespace tovri
