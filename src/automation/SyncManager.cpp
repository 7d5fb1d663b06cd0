#include "automation/SyncManager.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

namespace tovri {

using Status = Download::Status;

bool isSettled(Status status) {
    return (isFinished(status) && status != Status::failed) || status == Status::deleting;
}

SyncManager::SyncManager(SyncPorts ports)
    : ports_(std::move(ports)), store_(ports_), rules_(store_.load()), self_(std::make_shared<SyncManager*>(this)) {
    for (SyncRule& rule : rules_) rule.revision = 1;
    store_.onFailure([this](const Error& error) {
        setLastError(error.description);
        ports_.log.line("[SyncManager] " + error.description);
    });
}

SyncManager::~SyncManager() {
    changes_ = {};  // nobody is told how the passes under way end
}

void SyncManager::configure(PutIOAPI& api, DownloadManager& downloadManager) {
    api_ = &api;
    downloadManager_ = &downloadManager;
    downloadManager.setOnSyncFileSettled([held = std::weak_ptr(self_)](const UUID& rule, FileID fileID) {
        if (const auto self = held.lock()) (*self)->fileSettled(rule, fileID);
    });
    downloadManager.setOnSyncFileReturned([held = std::weak_ptr(self_)](const UUID& rule, FileID fileID) {
        if (const auto self = held.lock()) (*self)->fileReturned(rule, fileID);
    });
    watching_ = downloadManager.onChange([this](const QueueChange& change) {
        if (change.kind == QueueChange::Kind::status) reportDoubt(*change.item);
    });
    securing_ = downloadManager.onSecured([this](const Download& item) { noteSecured(item); });
    settleUnseen();
}

// --- Rules ---

std::optional<std::size_t> SyncManager::indexOf(const UUID& id) const {
    const auto found = std::ranges::find(rules_, id, &SyncRule::id);
    if (found == rules_.end()) return std::nullopt;
    return static_cast<std::size_t>(found - rules_.begin());
}

const SyncRule* SyncManager::find(const UUID& id) const {
    const auto index = indexOf(id);
    return index ? &rules_[*index] : nullptr;
}

void SyncManager::addRule(SyncRule rule) {
    const UUID id = rule.id;
    rule.isInitialized = false;
    rule.stockIsWhole = false;
    rule.revision = 1;
    if (!rule.account) rule.account = account_;
    rule.isForeign = isForeign(rule);
    ++beginnings_[id];
    rules_.push_back(std::move(rule));
    save();
    changes_.tell({SyncChange::Kind::ruleAdded, rules_.size() - 1});
    scope_.start(runInventory(id));
}

void SyncManager::updateRule(SyncRule rule) {
    const auto index = indexOf(rule.id);
    if (!index) return;
    SyncRule& stored = rules_[*index];
    const UUID id = rule.id;
    const bool isOtherFolder = rule.putioFolderID != stored.putioFolderID;
    if (isOtherFolder) {
        rule.knownFileIDs.clear();
        rule.pendingFileIDs.clear();
        rule.isInitialized = false;
        rule.stockIsWhole = false;
        rule.lastSyncDate.reset();
        beginAnew(rule);
    } else if (rule.revision != 0 && rule.revision != stored.revision) {
        rule.knownFileIDs = std::move(stored.knownFileIDs);
        rule.pendingFileIDs = std::move(stored.pendingFileIDs);
        rule.isInitialized = stored.isInitialized;
        rule.stockIsWhole = stored.stockIsWhole;
        rule.lastSyncDate = stored.lastSyncDate;
    }
    if (!isOtherFolder) {
        rule.lastFailure = std::move(stored.lastFailure);
        rule.watchedSince = stored.watchedSince;
    }
    rule.revision = stored.revision + 1;
    rule.account = stored.account;
    rule.isForeign = stored.isForeign;
    stored = std::move(rule);
    save();
    changes_.tell({SyncChange::Kind::ruleChanged, *index});
    if (isOtherFolder) scope_.start(runInventory(id));
}

// What is on its way to the disk belongs to the folder of before: the new inventory is written as it is.
void SyncManager::beginAnew(SyncRule& rule) {
    rule.lastFailure.reset();
    rule.watchedSince = ports_.clock.now();
    std::erase_if(unsecured_, [&](const auto& each) { return each.first == rule.id; });
    ++beginnings_[rule.id];
}

void SyncManager::deleteRule(const UUID& id) {
    while (const auto index = indexOf(id)) {
        rules_.erase(rules_.begin() + static_cast<std::ptrdiff_t>(*index));
        changes_.tell({SyncChange::Kind::ruleRemoved, *index});
    }
    save();
}

// --- Accounts ---

bool SyncManager::isForeign(const SyncRule& rule) const {
    return isAccountTold_ && rule.account && rule.account != account_;
}

void SyncManager::setAccount(const std::optional<std::string>& name) {
    isAccountTold_ = true;
    account_ = name;
    bool isAnyNew = false;
    bool goesAnyOn = false;
    for (std::size_t index = 0; index < rules_.size(); ++index) {
        SyncRule& rule = rules_[index];
        isAnyNew = isAnyNew || (!rule.account && name);
        if (!rule.account) rule.account = name;
        if (rule.isForeign == isForeign(rule)) continue;
        rule.isForeign = !rule.isForeign;
        goesAnyOn = goesAnyOn || !rule.isForeign;
        changes_.tell({SyncChange::Kind::ruleChanged, index});
    }
    if (isAnyNew) save();
    if (goesAnyOn && isPolling()) startPolling();
}

void SyncManager::useAnyAccount(const UUID& id) {
    const auto index = indexOf(id);
    if (!index) return;
    SyncRule& rule = rules_[*index];
    rule.account = account_;
    rule.isForeign = false;
    rule.knownFileIDs.clear();
    rule.pendingFileIDs.clear();
    rule.isInitialized = false;
    rule.stockIsWhole = false;
    rule.lastSyncDate.reset();
    ++rule.revision;
    ++beginnings_[id];
    save();
    changes_.tell({SyncChange::Kind::ruleChanged, *index});
}

// --- What settles ---

void SyncManager::fileSettled(const UUID& rule, FileID fileID) {
    const std::vector<std::size_t> changed = settle(rule, fileID);
    if (changed.empty()) return;
    if (isUnsecured(rule, fileID)) {
        unsecured_.insert({rule, fileID});
    } else {
        unsecured_.erase({rule, fileID});
        save();
    }
    for (const std::size_t index : changed) changes_.tell({SyncChange::Kind::ruleChanged, index});
}

void SyncManager::fileReturned(const UUID& rule, FileID fileID) {
    for (std::size_t index = 0; index < rules_.size(); ++index) {
        SyncRule& each = rules_[index];
        if (each.id != rule || !each.knownFileIDs.erase(fileID)) continue;
        each.pendingFileIDs.insert(fileID);
        ++each.revision;
        save();
        changes_.tell({SyncChange::Kind::ruleChanged, index});
    }
}

// The places of the rules that did not know it: the first of that ID, and others of it that wait for the file.
std::vector<std::size_t> SyncManager::settle(const UUID& rule, FileID fileID) {
    std::vector<std::size_t> changed;
    bool isFirst = true;
    for (std::size_t index = 0; index < rules_.size(); ++index) {
        if (rules_[index].id != rule) continue;
        const bool wasPending = rules_[index].pendingFileIDs.erase(fileID);
        const bool isNews = (wasPending || isFirst) && rules_[index].knownFileIDs.insert(fileID);
        isFirst = false;
        if (!wasPending && !isNews) continue;
        ++rules_[index].revision;
        changed.push_back(index);
    }
    return changed;
}

// Whether the rule's file has arrived and is still on its way to the disk. Then the rules file calls it pending: a loss
// of power may take it.
bool SyncManager::isUnsecured(const UUID& rule, FileID fileID) const {
    const auto isOpen = [](const ConstDownloadPointer& item) {
        return item->status == Status::completed && !item->durable.has_value();
    };
    return downloadManager_ && std::ranges::any_of(downloadManager_->downloads().ofRule(rule, fileID), isOpen);
}

void SyncManager::noteSecured(const Download& item) {
    if (item.syncRuleID && unsecured_.erase({*item.syncRuleID, item.fileID}) > 0) save();
}

void SyncManager::reportDoubt(const Download& item) {
    if (!item.syncRuleID || !item.isDoubtful()) return;
    setLastError(item.fileName + ": " + *item.error, item.syncRuleID);
}

// Whether the item had ended when the rule was pointed at the folder that it watches now.
bool SyncManager::isOfBefore(const Download& item, const SyncRule& rule) const {
    const bool isSensible = rule.watchedSince && *rule.watchedSince <= ports_.clock.now();
    return isSensible && item.completedAt && *item.completedAt < *rule.watchedSince;
}

// The previous process may have died, or restoring the queue may have closed an item, before the rule learned of it.
void SyncManager::settleUnseen() {
    std::set<std::size_t> changed;
    for (const ConstDownloadPointer& item : downloadManager_->downloads().items()) {
        if (!item->syncRuleID || !isSettled(item->status)) continue;
        const SyncRule* rule = find(*item->syncRuleID);
        if (!rule || rule->knownFileIDs.contains(item->fileID) || isOfBefore(*item, *rule)) continue;
        if (downloadManager_->mayBeLost(*item)) continue;  // told later, or fetched again
        if (isUnsecured(rule->id, item->fileID)) unsecured_.insert({rule->id, item->fileID});
        std::ranges::copy(settle(rule->id, item->fileID), std::inserter(changed, changed.end()));
    }
    if (!changed.empty()) save();
    for (const std::size_t index : changed) changes_.tell({SyncChange::Kind::ruleChanged, index});
}

// --- State ---

void SyncManager::setSyncing(bool isSyncing) {
    if (isSyncing_ == isSyncing) return;
    isSyncing_ = isSyncing;
    changes_.tell({SyncChange::Kind::isSyncing});
}

void SyncManager::setLastError(std::optional<std::string> text, const std::optional<UUID>& rule) {
    if (lastError_ == text && lastErrorRule_ == rule) return;
    lastError_ = std::move(text);
    lastErrorRule_ = rule;
    changes_.tell({SyncChange::Kind::lastError});
}

}  // namespace tovri
