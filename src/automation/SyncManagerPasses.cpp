// Polling, passes and inventories.
#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "automation/SyncManager.h"
#include "downloads/PutIODownloadService.h"
#include "platform/Await.h"

namespace tovri {

// One at a time. Ends with the pass, also when its task is dropped.
class SyncManager::RunningPass {
public:
    explicit RunningPass(SyncManager& manager) : manager_(manager) {
        manager_.setSyncing(true);
        manager_.setLastError(std::nullopt);
    }

    RunningPass(const RunningPass&) = delete;
    RunningPass& operator=(const RunningPass&) = delete;

    ~RunningPass() { manager_.setSyncing(false); }

private:
    SyncManager& manager_;
};

// --- Polling ---

void SyncManager::startPolling() {
    stopPolling();
    pollingTask_.emplace();
    scope_.start(runPolling(pollingTask_->get_token()));
}

void SyncManager::stopPolling() {
    if (auto task = std::exchange(pollingTask_, std::nullopt)) task->request_stop();
}

Task<> SyncManager::runPolling(std::stop_token stop) {
    using namespace std::chrono_literals;
    if (isSyncing_) {  // perhaps the pass of a polling that was just stopped, and ends in this turn
        Result<std::monostate> turn = co_await sleepFor(ports_.loop, 0s, stop);
        if (!turn) co_return;
    }
    while (!stop.stop_requested()) {
        co_await syncAll(SyncUrgency::whenDue, stop);
        Result<std::monostate> paused = co_await pauseBetweenPasses(stop);
        if (!paused) co_return;
    }
}

// The loop's clock stands still while the machine is asleep; that time counts too.
Task<Result<std::monostate>> SyncManager::pauseBetweenPasses(std::stop_token stop) {
    using namespace std::chrono_literals;
    constexpr MainLoop::Duration nap = 15s;
    const auto now = [this] {
        const auto asleep = ports_.sleep ? ports_.sleep->timeAsleep() : 0ns;
        return ports_.loop.now() + std::chrono::duration_cast<MainLoop::Duration>(asleep);
    };
    const auto end = now() + 60s;
    for (auto left = end - now(); left > 0s; left = end - now()) {
        Result<std::monostate> slept = co_await sleepFor(ports_.loop, std::min(left, nap), stop);
        if (!slept) co_return slept;
    }
    co_return std::monostate();
}

// --- Passes ---

Task<> SyncManager::syncAll(SyncUrgency urgency, std::stop_token stop) {
    if (!api_ || !downloadManager_) {
        ports_.log.line("[SyncManager] Not configured — api or downloadManager is nil");
        co_return;
    }
    if (isSyncing_) {
        ports_.log.line("[SyncManager] Already syncing, skipping");
        co_return;
    }
    const RunningPass pass(*this);
    const std::size_t count = rules_.size();
    for (std::size_t index = 0; index < count; ++index) {
        if (stop.stop_requested()) co_return;
        if (index < rules_.size() && rules_[index].isEnabled) co_await syncRuleAt(index, urgency, stop);
    }
}

Task<> SyncManager::syncRule(UUID id, SyncUrgency urgency, std::stop_token stop) {
    if (!api_ || !downloadManager_ || isSyncing_) co_return;
    const RunningPass pass(*this);
    if (const auto index = indexOf(id)) co_await syncRuleAt(*index, urgency, stop);
}

Task<> SyncManager::syncRuleAt(std::size_t index, SyncUrgency urgency, std::stop_token stop) {
    const Timestamp passTime = ports_.clock.now();
    const UUID id = rules_[index].id;
    const std::string name = rules_[index].putioFolderName;
    if (rules_[index].isForeign) {
        ports_.log.line("[SyncManager] " + name + ": waits for the put.io account " +
                        rules_[index].account.value_or("") + ", in which the rule was made");
        co_return;
    }
    if (!rules_[index].isInitialized) {
        const bool isInitialized = co_await initializeRule(id, stop);
        (void)isInitialized;  // either way, a later pass downloads
        co_return;
    }
    correctLastSync(index, passTime);
    if (urgency == SyncUrgency::whenDue && !isDue(rules_[index], passTime)) co_return;
    if (const Result<std::filesystem::path> folder = localFolder(rules_[index]); !folder) {
        reportSyncFailure(id, name, folder.error());
        co_return;
    }

    const std::uint64_t beginning = beginnings_[id];
    PutIODownloadService service(*api_);
    FolderWalk walk(service);
    Result<std::vector<ListedFile>> listing = co_await walk.collectFiles(rules_[index].putioFolderID, {}, stop);
    if (!listing) {
        if (!listing.error().isCancellation()) reportSyncFailure(id, name, listing.error());
        co_return;
    }
    if (stop.stop_requested()) co_return;
    const bool isStillThere = index < rules_.size() && rules_[index].id == id;
    if (!isStillThere || beginnings_[id] != beginning) co_return;
    takeIn(index, std::move(*listing), extentOf(walk), passTime);
    if (walk.cut())
        reportCutListing(id, *walk.cut());
    else
        noteOutcome(id, std::nullopt);
}

// A clock that was ahead would otherwise keep the rule from looking until it has gone by.
void SyncManager::correctLastSync(std::size_t index, Timestamp now) {
    SyncRule& rule = rules_[index];
    if (!rule.lastSyncDate || *rule.lastSyncDate <= now) return;
    rule.lastSyncDate = now;
    ++rule.revision;
    save();
    ports_.log.line("[SyncManager] " + rule.putioFolderName +
                    ": the last pass lies in the future, so the clock was wrong; it counts as now");
    changes_.tell({SyncChange::Kind::ruleChanged, index});
}

bool SyncManager::isDue(const SyncRule& rule, Timestamp now) const {
    using std::chrono::microseconds;
    using std::chrono::seconds;
    if (!rule.lastSyncDate) return true;
    // Microseconds: the time between two dates may exceed what nanoseconds can say.
    const auto elapsed = std::chrono::floor<microseconds>(now.time_since_epoch()) -
                         std::chrono::floor<microseconds>(rule.lastSyncDate->time_since_epoch());
    constexpr std::int64_t longest = microseconds::max().count() / 60'000'000;
    return elapsed >= std::chrono::minutes(std::clamp(rule.pollIntervalMinutes, -longest, longest));
}

Result<std::filesystem::path> SyncManager::localFolder(const SyncRule& rule) const {
    std::filesystem::path folder = localFolderURL(rule, ports_.folderAccess);
    if (folder.is_absolute()) return folder;
    return failure(Error(ErrorCase::file, "The rule has no local folder to download into. Edit it and choose one."));
}

void SyncManager::takeIn(std::size_t index, std::vector<ListedFile> listing, Extent extent, Timestamp passTime) {
    if (extent == Extent::whole && !rules_[index].stockIsWhole) completeStock(index, listing);
    SyncRule rule = rules_[index];  // an observer of the queue may change the rules while files are queued
    // What is deleted makes room in the beginning of the folder, where old files would then look new.
    if (extent == Extent::beginning) rule.deleteAfterDownload = false;
    FileIDs unknown;
    for (const ListedFile& entry : listing)
        if (!rule.knownFileIDs.contains(entry.file.id)) unknown.insert(entry.file.id);
    const auto failed = downloadManager_->downloads().withStatus(Download::Status::failed);
    const bool hasFailed = std::ranges::any_of(failed, [&](const ConstDownloadPointer& item) {
        return item->syncRuleID == rule.id && unknown.contains(item->fileID);
    });
    FileIDs inFlight = filesInFlight(rule, unknown);
    const std::size_t newCount = unknown.size() - inFlight.size();
    ports_.log.line("[SyncManager] " + rule.putioFolderName + ": " + std::to_string(listing.size()) + " files total, " +
                    std::to_string(newCount) + " new, " + std::to_string(inFlight.size()) + " in flight");
    if (newCount > 0) {
        const auto batch = newCount > 1 ? std::optional(downloadManager_->newBatchID()) : std::nullopt;
        enqueue(rule, listing, inFlight, batch);
        ports_.log.line("[SyncManager] Enqueued " + std::to_string(newCount) + " files for download");
    }
    listing = {};  // a long one need not stand beside the text of a long queue
    // Before the first of them can arrive: a process that dies later finds in its queue what it has asked for.
    if (newCount > 0 || hasFailed) downloadManager_->saveNow();
    if (index < rules_.size() && rules_[index].id == rule.id) noteSynced(index, std::move(inFlight), passTime);
}

void SyncManager::noteSynced(std::size_t index, FileIDs inFlight, Timestamp passTime) {
    SyncRule& current = rules_[index];
    std::erase_if(inFlight, [&](FileID fileID) { return current.knownFileIDs.contains(fileID); });
    current.pendingFileIDs = FileIDSet(std::vector(inFlight.begin(), inFlight.end()));
    current.lastSyncDate = passTime;
    ++current.revision;
    save();
    changes_.tell({SyncChange::Kind::ruleChanged, index});
}

// The stock was taken when the service listed only the beginning of a folder. What it kept back then is as old as what
// it listed, and cannot be told from what has come since: all of it counts as known. The beginning is listed as ever.
void SyncManager::completeStock(std::size_t index, const std::vector<ListedFile>& listing) {
    SyncRule& rule = rules_[index];
    FileIDs rest;
    for (const ListedFile& entry : listing)
        if (entry.wasKeptBack && !rule.knownFileIDs.contains(entry.file.id)) rest.insert(entry.file.id);
    for (const FileID fileID : filesAskedFor(rule, rest)) rest.erase(fileID);
    rule.stockIsWhole = true;
    ++rule.revision;
    if (rest.empty()) return;
    std::vector<FileID> known(rule.knownFileIDs.begin(), rule.knownFileIDs.end());
    known.insert(known.end(), rest.begin(), rest.end());
    rule.knownFileIDs = FileIDSet(std::move(known));
    ports_.log.line("[SyncManager] " + rule.putioFolderName + ": " + std::to_string(rest.size()) +
                    " files that put.io had not listed before count as known and are not downloaded");
}

// Of the listed files that the rule does not know, those that it has in the queue; failed ones are tried again.
SyncManager::FileIDs SyncManager::filesInFlight(const SyncRule& rule, const FileIDs& unknown) {
    if (unknown.empty()) return {};
    return downloadManager_->inFlightFileIDs(rule.id, filesAskedFor(rule, unknown));
}

// Those among them that the rule has asked for before. The queue knows more than the pending ones: a file that left the
// folder for a while is no longer pending, and one that was queued just before the process died not yet.
SyncManager::FileIDs SyncManager::filesAskedFor(const SyncRule& rule, const FileIDs& unknown) const {
    FileIDs candidates;
    for (const FileID fileID : unknown) {
        const auto queued = downloadManager_->downloads().ofRule(rule.id, fileID);
        const bool isUnsettled =
            std::ranges::any_of(queued, [](const ConstDownloadPointer& item) { return !isSettled(item->status); });
        if (isUnsettled || rule.pendingFileIDs.contains(fileID)) candidates.insert(fileID);
    }
    return candidates;
}

void SyncManager::enqueue(const SyncRule& rule, const std::vector<ListedFile>& listing, FileIDs& inFlight,
                          const std::optional<UUID>& batch) {
    const std::filesystem::path folder = localFolderURL(rule, ports_.folderAccess);
    DownloadManager::EnqueueOptions options{.destination = DestinationFolder{folder, rule.localFolderBookmark},
                                            .deleteAfterDownload = rule.deleteAfterDownload,
                                            .syncRuleID = rule.id,
                                            .batchID = batch};
    for (const ListedFile& entry : listing) {
        if (rule.knownFileIDs.contains(entry.file.id) || !inFlight.insert(entry.file.id).second) continue;
        options.destination->folder = entry.folder.empty() ? folder : folder / entry.folder;
        downloadManager_->enqueue(entry.file, options);
    }
}

void SyncManager::reportSyncFailure(const UUID& rule, const std::string& name, const Error& error) {
    noteOutcome(rule, error.description);
    setLastError("Sync failed for " + name + ": " + error.description, rule);
    ports_.log.line("[SyncManager] Error syncing " + name + ": " + error.description);
}

void SyncManager::noteOutcome(const UUID& rule, std::optional<std::string> failure) {
    const auto index = indexOf(rule);
    if (!index || rules_[*index].lastFailure == failure) return;
    rules_[*index].lastFailure = std::move(failure);
    save();
    changes_.tell({SyncChange::Kind::ruleChanged, *index});
}

// --- Inventories ---

Task<> SyncManager::runInventory(UUID id) {
    const bool isInitialized = co_await initializeRule(id, scope_.stopToken());
    (void)isInitialized;  // a pass tries again
}

Task<bool> SyncManager::initializeRule(UUID id, std::stop_token stop) {
    if (!api_) co_return false;
    auto index = indexOf(id);
    if (!index) co_return false;
    if (rules_[*index].isInitialized) co_return true;
    if (rules_[*index].isForeign) co_return false;

    const std::string name = rules_[*index].putioFolderName;
    const std::uint64_t beginning = beginnings_[id];
    PutIODownloadService service(*api_);
    FolderWalk walk(service);
    Result<std::vector<ListedFile>> listing = co_await walk.collectFiles(rules_[*index].putioFolderID, {}, stop);
    if (!listing) {
        if (!listing.error().isCancellation()) reportInventoryFailure(id, name, listing.error());
        co_return false;
    }
    index = indexOf(id);
    if (!index || beginnings_[id] != beginning) co_return false;
    if (rules_[*index].isInitialized) co_return true;  // another one was quicker: what came since is new
    adoptInventory(*index, *listing, extentOf(walk));
    if (walk.cut())
        reportCutListing(id, *walk.cut());
    else
        noteOutcome(id, std::nullopt);
    co_return true;
}

void SyncManager::adoptInventory(std::size_t index, const std::vector<ListedFile>& listing, Extent extent) {
    std::vector<FileID> present;
    present.reserve(listing.size());
    for (const ListedFile& entry : listing) present.push_back(entry.file.id);
    SyncRule& rule = rules_[index];
    rule.knownFileIDs = FileIDSet(std::move(present));
    rule.isInitialized = true;
    rule.stockIsWhole = extent == Extent::whole;
    ++rule.revision;
    save();
    // Written before anybody is told: a second inventory would take for old what has come since the first.
    (void)store_.finish();
    ports_.log.line("[SyncManager] Initialized " + rule.putioFolderName + " with " + std::to_string(listing.size()) +
                    " existing files");
    changes_.tell({SyncChange::Kind::ruleChanged, index});
}

// As the user wants it, but nothing that may stay unsaid.
void SyncManager::reportCutListing(const UUID& rule, const Error& reason) {
    const SyncRule* current = find(rule);
    if (!current) return;
    const std::string name = current->putioFolderName;
    noteOutcome(rule, reason.description);
    setLastError(name + ": " + reason.description, rule);
    ports_.log.line("[SyncManager] " + name + ": " + reason.description);
}

void SyncManager::reportInventoryFailure(const UUID& rule, const std::string& name, const Error& error) {
    noteOutcome(rule, error.description);
    setLastError("Couldn't initialize " + name + ": " + error.description + ". Will retry.", rule);
    ports_.log.line("[SyncManager] Error initializing " + name + ": " + error.description);
}

}  // namespace tovri
