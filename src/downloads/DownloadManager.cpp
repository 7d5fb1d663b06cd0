#include "downloads/DownloadManager.h"

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
      destinations_({ports_.loop, ports_.files, ports_.volumes, ports_.folders.applicationData}),
      held_(ports_.loop, list_, destinations_, lanes_,
            [this] {
                saves_.request(SaveSchedule::Urgency::gathered);
                processQueue();
            }),
      accounts_(list_),
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
              .stagingFolder = store_->stagingDirectory(),
              .bootID = ports_.clock.bootID(),
              .runWaits = [this] { runEnded(); }},
      securing_(durability_.onDone([this] { finishSuspending(); })),
      leftoversKnown_(leftovers_.onKnown([this] { held_.bytesAreKnown(); })) {
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
    if (item->folderGroupID) groups_.reopen(*item->folderGroupID);
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

void DownloadManager::useAnyAccount(const ConstDownloadPointer& shown) {
    const DownloadPointer item = list_.changeable(*shown);
    if (!item) return;
    accounts_.useAnyAccount(*item);
    processQueue();
    scheduleSave();
}

void DownloadManager::setAccount(const std::optional<std::string>& name) {
    accounts_.setAccount(name);
    for (const DownloadPointer& item : list_.withStatus(Status::downloading))
        if (item->run && accounts_.obstacle(*item)) item->run->yieldSlot();
    processQueue();
    if (use_ == Use::running) scheduleSave();
}

void DownloadManager::setSignedIn(bool isSignedIn) {
    isSignedIn_ = isSignedIn;
    processQueue();
}

}  // namespace tovri
