#include "downloads/DownloadManager.h"

#include <algorithm>
#include <ranges>

#include "downloads/listing/FolderWalk.h"
#include "downloads/retrying/RetryingDownloadService.h"
#include "downloads/running/ArrivalProof.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {

using Status = Download::Status;

DownloadManager::DownloadManager(DownloadPorts ports)
    : ports_(std::move(ports)),
      store_(std::make_shared<DownloadStore>(
          DownloadStore::Ports{ports_.files, ports_.clock, ports_.log, ports_.folders.applicationData})),
      journal_(std::make_shared<PlacementJournal>(ports_.files, ports_.folders.applicationData / "placements.journal")),
      brought_(std::make_shared<BroughtFiles>(ports_.files, ports_.folders.applicationData / "brought.list")),
      saves_(ports_.loop, [this] { saver_.save(); }),
      saver_({ports_.loop, ports_.volumes, ports_.log}, store_, journal_, saves_,
             {.snapshot = [this] { return makeSnapshot(); },
              .takeEnded = [this] { return placement_.takeEnded(); },
              .failureChanged = [this] { list_.tell(QueueChange::Kind::saving); }}),
      groups_(list_),
      conflicts_(list_),
      lanes_(ports_.loop, ports_.files, ports_.volumes),
      receiving_({ports_.loop, ports_.volumes, ports_.files, ports_.random, lanes_}, ports_.folders.applicationData),
      leftovers_({ports_.loop, ports_.files, list_, receiving_}),
      destinations_({ports_.loop, ports_.files, ports_.volumes, ports_.folders.applicationData / "destinations.list"}),
      held_(ports_.loop, list_, destinations_, lanes_,
            [this] {
                saves_.request(SaveSchedule::Urgency::gathered);
                processQueue();
            }),
      brakes_(ports_.loop, ports_.random),
      links_(ports_.loop, ports_.random, brakes_),
      serviceHolds_(ports_.loop, ports_.clock, list_, [this] { processQueue(); }),
      deletion_(list_, groups_, saves_, {ports_.loop, ports_.files, ports_.volumes, lanes_, journal_, brought_}),
      settlement_(list_, conflicts_, deletion_, saves_, leftovers_, ports_.clock),
      placement_({ports_.loop, ports_.volumes, ports_.files, ports_.folderAccess}, journal_, brought_),
      durability_({ports_.loop, ports_.volumes, ports_.files, lanes_}, list_, saves_, journal_),
      recovery_({ports_.loop, ports_.volumes, ports_.files, lanes_}, list_, settlement_, durability_, journal_,
                {.goesOn = [this](const DownloadPointer& item) { goOn(item); },
                 .isKnown = [this](PlacementID placement) { saver_.noteEnded(placement); },
                 .isLost = [this](const DownloadPointer& item) { fetchAgain(item); },
                 .hasEnded = [this] { looksEnded(); }}),
      around_{.loop = ports_.loop,
              .files = ports_.files,
              .volumes = ports_.volumes,
              .random = ports_.random,
              .log = ports_.log,
              .transfers = ports_.transfers,
              .list = list_,
              .conflicts = conflicts_,
              .settlement = settlement_,
              .saves = saves_,
              .placement = placement_,
              .durability = durability_,
              .lanes = lanes_,
              .receiving = receiving_,
              .kept = kept_,
              .leftovers = leftovers_,
              .destinations = destinations_,
              .clock = ports_.clock,
              .brakes = brakes_,
              .connections = connections_,
              .links = links_,
              .dataFolder = ports_.folders.applicationData,
              .stagingFolder = store_->stagingDirectory(),
              .bootID = ports_.clock.bootID(),
              .runWaits = [this] { runEnded(); }},
      securing_(durability_.onDone([this] { finishSuspending(); })),
      leftoversKnown_(leftovers_.onKnown([this] { held_.look(); })) {
    around_.lastGain = ports_.loop.now();
    brakes_.onOpening([this](const std::string& host) { serviceHolds_.hostOpened(host); });
    list_.onForbiddenStep([this](const std::string& fault) { ports_.log.line("[DownloadManager] " + fault); });
}

DownloadManager::~DownloadManager() = default;

void DownloadManager::configure(DownloadService& service, const Preferences& preferences) {
    around_.service = &service;
    around_.preferences = &preferences;
    links_.configure(service);
    deletion_.configure(service);
    destinations_.configure(preferences);
}

// --- Queueing ---

DestinationFolder DownloadManager::resolveDestination(const std::optional<DestinationFolder>& destination) const {
    if (destination) return *destination;
    if (!around_.preferences) return {ports_.folders.home.native() + "/Downloads", std::nullopt};
    return {around_.preferences->downloadFolderURL(), around_.preferences->defaultDownloadBookmark()};
}

namespace {

DownloadRecord newRecord(const PutIOFile& file, const UUID& id) {
    DownloadRecord record;
    record.id = id;
    record.fileID = file.id;
    record.fileName = file.name;
    record.fileSize = file.size.value_or(0);
    record.crc32 = file.crc32;
    return record;
}

std::shared_ptr<const ByteBlob> sharedBookmark(const std::optional<ByteBlob>& bookmark) {
    return bookmark ? std::make_shared<const ByteBlob>(*bookmark) : nullptr;
}

}  // namespace

ConstDownloadPointer DownloadManager::enqueue(const PutIOFile& file, const EnqueueOptions& options) {
    const DestinationFolder destination = resolveDestination(options.destination);
    DownloadRecord record = newRecord(file, ports_.random.makeUUID());
    record.destinationFolder = std::make_shared<const std::filesystem::path>(destination.folder);
    record.securityScopeBookmark = sharedBookmark(destination.bookmark);
    record.deleteAfterDownload =
        options.deleteAfterDownload.value_or(around_.preferences && around_.preferences->deleteAfterDownload());
    record.syncRuleID = options.syncRuleID;

    auto item = std::make_shared<Download>(std::move(record));
    list_.insertOnTop({item});
    processQueue();
    scheduleSave();
    return item;
}

Task<Result<std::vector<ConstDownloadPointer>>> DownloadManager::enqueueFolder(FolderRequest request,
                                                                               std::stop_token stop) {
    Tries tries({ports_.loop, ports_.random, ports_.clock, brakes_}, Tries::Kind::listing,
                std::chrono::minutes(around_.preferences->patienceMinutes()));
    tries.onWait(request.onWait);
    RetryingDownloadService service(*around_.service, tries);
    FolderWalk walk(service);
    Result<std::vector<ListedFile>> files =
        co_await walk.collectFiles(request.folderID, request.destination.folder, stop);
    if (walk.cut() && request.onCut) request.onCut(*walk.cut());
    if (!files) {
        ports_.log.line("[DownloadManager] Failed to list folder " + request.name + ": " + files.error().description);
        co_return failure(files);
    }
    if (!walk.isComplete()) {
        ports_.log.line("[DownloadManager] put.io lists only the beginning of folder " + request.name +
                        ": the rest is not downloaded, and the folder stays on put.io");
        request.deleteAfterDownload = false;  // it would take with it what was never seen
    }
    if (request.deleteAfterDownload) groups_.expect(request.groupID, static_cast<std::int64_t>(files->size()));

    const auto bookmark = sharedBookmark(request.destination.bookmark);
    SharedFolder folder;  // of the file before: a folder's files follow one another
    std::vector<DownloadPointer> items;
    items.reserve(files->size());
    for (const ListedFile& listed : *files) {
        if (!folder || *folder != listed.folder) folder = std::make_shared<const std::filesystem::path>(listed.folder);
        DownloadRecord record = newRecord(listed.file, ports_.random.makeUUID());
        record.destinationFolder = folder;
        record.securityScopeBookmark = bookmark;
        if (request.deleteAfterDownload) {
            record.folderDeleteID = request.folderID;
            record.folderGroupID = request.groupID;
        }
        items.push_back(std::make_shared<Download>(std::move(record)));
    }
    // Each file goes on top of the one before, so the last file walked is the first to start.
    std::ranges::reverse(items);
    list_.insertOnTop(items);
    processQueue();
    scheduleSave();
    ports_.log.line("[DownloadManager] Enqueued " + std::to_string(items.size()) + " files from folder " +
                    request.name);
    co_return std::vector<ConstDownloadPointer>(items.begin(), items.end());
}

std::unordered_set<FileID> DownloadManager::inFlightFileIDs(const UUID& rule,
                                                            const std::unordered_set<FileID>& candidates) {
    std::unordered_set<FileID> inFlight;
    std::vector<ConstDownloadPointer> failed;
    for (const FileID fileID : candidates) {
        for (const ConstDownloadPointer& item : list_.ofRule(rule, fileID)) {
            if (item->status == Status::failed) failed.push_back(item);
            inFlight.insert(fileID);
        }
    }
    std::ranges::sort(failed, {}, [](const ConstDownloadPointer& item) { return item->position; });
    for (const ConstDownloadPointer& item : failed) putBack(list_.changeable(*item));
    return inFlight;
}

// What failed for a rule is tried again, the later the more often it failed.
void DownloadManager::putBack(const DownloadPointer& item) {
    const std::int64_t failures = (item->ruleRetry ? item->ruleRetry->failures : 0) + 1;
    const Timestamp failed = item->completedAt.value_or(ports_.clock.now());
    auto next = std::make_shared<const RuleRetry>(
        RuleRetry{failures, item->error.value_or("Download failed"), failed + RuleRetry::delay(failures)});
    queueAgain(item);
    item->ruleRetry = std::move(next);
    holdForRule(*item);
    processQueue();
    scheduleSave();
}

void DownloadManager::holdForRule(Download& item) {
    if (!item.ruleRetry || item.ruleRetry->notBefore <= ports_.clock.now()) return;
    if (item.status != Status::queued) return;
    auto hold = std::make_shared<Hold>();
    hold->reason = Hold::Reason::later;
    hold->what = "item " + item.id.text();
    hold->text = "Waiting after a failure: " + item.ruleRetry->reason;
    if (hold->text.ends_with('.')) hold->text.pop_back();
    hold->until = item.ruleRetry->notBefore;
    list_.hold(item, std::move(hold));
}

// --- Control ---

void DownloadManager::pause(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item) return;
    if (use_ == Use::editing) pauseAtRest(*item);
    if (item->status == Status::downloading && item->run) item->run->pause();
}

// What was received without a token is fetched again.
void DownloadManager::pauseAtRest(Download& item) {
    if (item.status != Status::queued && item.status != Status::downloading) return;
    if (!item.resumeData) {
        item.progress = 0;
        item.bytesDownloaded = 0;
    }
    list_.take(item, item.status == Status::queued ? StatusStep::pauseWaiting : StatusStep::pause);
}

void DownloadManager::resume(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item || item->status != Status::paused) return;
    list_.take(*item, StatusStep::resume);
    processQueue();
    scheduleSave();
}

void DownloadManager::setPaused(bool isPaused) {
    if (around_.isQueuePaused == isPaused) return;
    around_.isQueuePaused = isPaused;
    list_.tell(QueueChange::Kind::isPaused);
}

void DownloadManager::pauseAll() {
    setPaused(true);
    for (const DownloadPointer& item : list_.withStatus(Status::downloading)) pause(item);
    for (const DownloadPointer& item : list_.withStatus(Status::queued))
        if (item->status == Status::queued) list_.take(*item, StatusStep::pauseWaiting);  // an observer may have
    scheduleSave();
}

void DownloadManager::resumeAll() {
    setPaused(false);
    held_.look();
    for (DownloadRun* run : runs_) run->goOnAfterPause();
    for (const DownloadPointer& item : list_.withStatus(Status::paused))
        if (item->status == Status::paused) list_.take(*item, StatusStep::resume);  // an observer may have
    processQueue();
    scheduleSave();
}

void DownloadManager::cancel(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item) return;
    abandon(item);
    processQueue();
}

// Cancels the item and whatever goes on for it.
void DownloadManager::abandon(const DownloadPointer& item) {
    abandonRun(*item);
    dropToken(*item);
    settlement_.markCancelled(item);
    conflicts_.dismissConflict(*item);
    dropArrived(*item);
    item->stagedURL.reset();
}

void DownloadManager::cancelAll() {
    for (const DownloadPointer& item :
         list_.withStatus({Status::downloading, Status::queued, Status::paused, Status::awaitingConflict}))
        abandon(item);
    scheduleSave();
}

void DownloadManager::remove(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item) return;
    abandonRun(*item);
    if (!isFinished(item->status)) settlement_.notifySyncSettled(*item);
    if (!list_.remove(*item)) return;  // whoever was told removed it
    conflicts_.dismissConflict(*item);
    dropArrived(*item);
    leftovers_.dropUnwanted(item->fileID);
    processQueue();
    scheduleSave();
}

void DownloadManager::clearFinished() {
    const std::vector<DownloadPointer> finished = list_.withStatus(finishedStatuses);
    for (const DownloadPointer& item : finished) dropArrived(*item);
    list_.removeFinished();
    for (const DownloadPointer& item : finished) leftovers_.dropUnwanted(item->fileID);
    scheduleSave();
}

void DownloadManager::retry(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item) return;
    queueAgain(item);
    processQueue();
    scheduleSave();
}

void DownloadManager::queueAgain(const DownloadPointer& item) {
    abandonRun(*item);
    item->ruleRetry.reset();
    dropToken(*item);
    if (auto copy = differingCopy(*item)) item->formerCopy = std::make_shared<const DifferingCopy>(std::move(*copy));
    item->forgetArrival();
    item->placedAs.reset();
    item->speed = {};
    item->tries.reset();
    list_.take(*item, StatusStep::retry);
    list_.release(*item);
    conflicts_.dismissConflict(*item);
}

void DownloadManager::retryDelete(const ConstDownloadPointer& shown) {
    if (const DownloadPointer item = list_.changeable(*shown)) deletion_.retryDelete(item);
}

void DownloadManager::deleteAnyway(const ConstDownloadPointer& shown) {
    if (const DownloadPointer item = list_.changeable(*shown)) deletion_.deleteAnyway(item);
}

void DownloadManager::moveUp(const ConstDownloadPointer& item) {
    if (list_.moveUp(*item)) moved(*item);
}

void DownloadManager::moveDown(const ConstDownloadPointer& item) {
    if (list_.moveDown(*item)) moved(*item);
}

void DownloadManager::moveToTop(const ConstDownloadPointer& item) {
    if (list_.moveToTop(*item)) moved(*item);
}

void DownloadManager::moved(const Download& item) {
    if (item.hold) held_.look();
    lookAhead();
    scheduleSave();
}

void DownloadManager::holdAll(std::optional<std::string> reason) {
    if (around_.holdReason == reason) return;
    around_.holdReason = std::move(reason);
    const std::vector<DownloadRun*> runs(runs_.begin(), runs_.end());
    if (around_.holdReason)
        for (DownloadRun* run : runs) run->yieldSlot();
    list_.tell(QueueChange::Kind::isHeld);
    processQueue();
}

void DownloadManager::setSignedIn(bool isSignedIn) {
    isSignedIn_ = isSignedIn;
    processQueue();
}

}  // namespace tovri
