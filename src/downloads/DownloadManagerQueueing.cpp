// How files come into the queue.
#include <algorithm>
#include <chrono>
#include <ranges>

#include "downloads/DownloadManager.h"
#include "downloads/listing/FolderWalk.h"
#include "downloads/retrying/RetryingDownloadService.h"

namespace tovri {

using Status = Download::Status;

DestinationFolder DownloadManager::resolveDestination(const std::optional<DestinationFolder>& destination) const {
    if (destination) return *destination;
    if (!around_.preferences) return {ports_.folders.home.native() + "/Downloads", std::nullopt};
    return {around_.preferences->downloadFolderURL(), around_.preferences->defaultDownloadBookmark()};
}

namespace {

DownloadRecord newRecord(const PutIOFile& file, const UUID& id, Timestamp now) {
    DownloadRecord record;
    record.id = id;
    record.queuedAt = now;
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
    DownloadRecord record = newRecord(file, ports_.random.makeUUID(), ports_.clock.now());
    record.destinationFolder = std::make_shared<const std::filesystem::path>(destination.folder);
    record.securityScopeBookmark = sharedBookmark(destination.bookmark);
    record.deleteAfterDownload =
        options.deleteAfterDownload.value_or(around_.preferences && around_.preferences->deleteAfterDownload());
    record.syncRuleID = options.syncRuleID;
    record.batchID = options.batchID;
    record.account = accounts_.account();

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
    if (request.deleteAfterDownload && !files->empty())
        groups_.expect(request.groupID, static_cast<std::int64_t>(files->size()));

    const auto bookmark = sharedBookmark(request.destination.bookmark);
    // Deletion and batch are separate: the former counts the folder's files, the latter may hold several folders.
    if (!request.batchID && files->size() > 1) request.batchID = request.groupID;
    const Timestamp now = ports_.clock.now();
    SharedFolder folder;  // of the file before: a folder's files follow one another
    std::vector<DownloadPointer> items;
    items.reserve(files->size());
    for (const ListedFile& listed : *files) {
        if (!folder || *folder != listed.folder) folder = std::make_shared<const std::filesystem::path>(listed.folder);
        DownloadRecord record = newRecord(listed.file, ports_.random.makeUUID(), now);
        record.destinationFolder = folder;
        record.securityScopeBookmark = bookmark;
        record.account = accounts_.account();
        record.batchID = request.batchID;
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
    const Timestamp now = ports_.clock.now();
    if (!item.ruleRetry || item.ruleRetry->notBefore <= now || item.status != Status::queued) return;
    if (const Timestamp latest = now + RuleRetry::delay(item.ruleRetry->failures); item.ruleRetry->notBefore > latest)
        item.ruleRetry = std::make_shared<const RuleRetry>(
            RuleRetry{item.ruleRetry->failures, item.ruleRetry->reason, latest});  // the clock was wrong then
    auto hold = std::make_shared<Hold>();
    hold->reason = Hold::Reason::later;
    hold->what = "item " + item.id.text();
    hold->text = "Waiting after a failure: " + item.ruleRetry->reason;
    if (hold->text.ends_with('.')) hold->text.pop_back();
    hold->until = item.ruleRetry->notBefore;
    list_.hold(item, std::move(hold));
}

}  // namespace tovri
