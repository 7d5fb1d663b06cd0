#include "cli/commands/DownloadCommands.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "cli/commands/queue/ItemSelection.h"
#include "cli/commands/queue/SavedQueue.h"
#include "cli/display/DisplayText.h"
#include "downloads/PutIODownloadService.h"
#include "downloads/listing/FolderWalk.h"
#include "downloads/placing/Destination.h"

namespace tovri::cli {
namespace {

using Status = Download::Status;

}  // namespace

Task<ExitCode> DownloadCommand::run(std::stop_token stop) {
    if (const std::optional<ExitCode> refused = downloads_.refusal()) co_return *refused;
    std::string wrong = objection();
    if (wrong.empty()) {
        Result<std::string> ofVolume = co_await objectionOfVolume(stop);
        if (!ofVolume) co_return ExitCode::interrupted;
        wrong = std::move(*ofVolume);
    }
    if (!wrong.empty()) co_return context_.fail(wrong);
    downloads_.begin();
    co_await prepare(stop);
    const ExitCode code = co_await downloads_.work(until_, stop);
    co_return code;
}

Task<Result<std::string>> DownloadCommand::objectionOfVolume(std::stop_token /*stop*/) {
    co_return std::string();
}

std::filesystem::path absoluteFolder(const std::filesystem::path& current, const std::string& text) {
    std::filesystem::path folder = (current / text).lexically_normal();
    if (folder.has_relative_path() && !folder.has_filename()) folder = folder.parent_path();  // a slash at the end
    return folder;
}

DestinationFolder GetCommand::destination() {
    std::optional<DestinationFolder> chosen;
    if (const auto folder = context().invocation.value("--to"))
        chosen = DestinationFolder{absoluteFolder(context().currentFolder, *folder), std::nullopt};
    return running().downloads().resolveDestination(chosen);
}

// A volume that hangs can still be left with Ctrl-C.
Task<Result<std::string>> GetCommand::objectionOfVolume(std::stop_token stop) {
    const Platform& platform = context().platform;
    if (!context().invocation.value("--to")) co_return std::string();
    const std::filesystem::path folder = destination().folder;
    auto look = [&files = platform.files, folder, data = platform.folders.applicationData]() -> Result<bool> {
        return files.isWithin(folder, data);
    };
    Result<bool> isInData = co_await onVolume<bool>(platform.loop, platform.volumes, "folder " + folder.native(),
                                                    std::move(stop), std::move(look));
    if (!isInData) co_return failure(isInData);
    if (!*isInData) co_return std::string();
    co_return fmt::format("{} belongs to Tovri's own data; choose another folder.", printable(folder.native()));
}

// Whoever repeats a command that was interrupted wants it to go on, not its files a second time.
bool GetCommand::isQueuedAlready(const PutIOFile& file, bool deletes) {
    const std::filesystem::path folder = destination().folder;
    const auto item = std::ranges::find_if(unfinished_, [&](const ConstDownloadPointer& each) {
        return each->fileID == file.id && *each->destinationFolder == folder;
    });
    if (item == unfinished_.end()) return false;
    tellGoingOn(file.name, 1, 0);
    running().downloads().resume(*item);
    if (isDeletedLater(**item) != deletes) tellDeletion(file.name, deletes);
    return true;
}

// What is on its way goes on as it was asked for first.
void GetCommand::tellDeletion(const std::string& name, bool deletes) {
    running().fail(
        deletes
            ? fmt::format("\"{}\" was queued without its deletion from put.io, and what was queued stays there. To "
                          "have it deleted, remove it from the queue and get it again with --delete.",
                          printable(name))
            : fmt::format("\"{}\" was queued with its deletion from put.io, and what was queued is deleted there "
                          "once it is here. To keep it, remove it from the queue and get it again without --delete.",
                          printable(name)));
}

bool GetCommand::hasUnfinishedBelow(const std::filesystem::path& folder) const {
    const std::string below = folder.native() + "/";
    return std::ranges::any_of(unfinished_, [&](const ConstDownloadPointer& item) {
        const std::string& each = item->destinationFolder->native();
        return each == folder.native() || each.starts_with(below);
    });
}

void GetCommand::tellGoingOn(const std::string& name, std::size_t waiting, std::size_t missing) {
    const auto files = [](std::size_t count) { return count == 1 ? "1 file" : fmt::format("{} files", count); };
    context().terminal.message(fmt::format("\"{}\" is in the queue already, with {} to go; going on with that{}.",
                                           printable(name), files(waiting),
                                           missing == 0 ? "" : fmt::format(", and with {} more", files(missing))));
}

// The same for a folder. What has failed or was cancelled is tried again, what was paused goes on. What the queue does
// not know of it, as when single files of it were asked for before, is added, unless it is on the disk. False when none
// of the folder's files is on its way.
Task<Result<bool>> GetCommand::goOn(DownloadManager::FolderRequest request, bool deletes, std::stop_token stop) {
    PutIODownloadService service(context().api);
    FolderWalk walk(service);
    Result<std::vector<ListedFile>> listed =
        co_await walk.collectFiles(request.folderID, request.destination.folder, stop);
    if (!listed) co_return failure(listed);

    const QueuedBefore before = queuedBefore(deletes);
    const bool differs =
        std::ranges::any_of(*listed, [&](const ListedFile& each) { return before.otherwise.contains(placeOf(each)); });
    std::set<Place> meant;  // of what is on its way
    for (const ListedFile& each : *listed)
        if (before.unfinished.contains(placeOf(each))) meant.insert(placeOf(each));
    if (meant.empty()) co_return false;

    std::vector<ListedFile> unknown;
    for (const ListedFile& each : *listed)
        if (!before.known.contains(placeOf(each))) unknown.push_back(each);
    Result<std::set<Place>> here = co_await onDisk(std::move(unknown), stop);
    if (!here) co_return failure(here);
    std::vector<ConstDownloadPointer> again;
    std::size_t kept = 0;
    std::erase_if(*listed, [&](const ListedFile& each) {
        const auto item = before.known.find(placeOf(each));
        const bool isKnown = item != before.known.end();
        const bool isWantedAgain =
            isKnown && (item->second->status == Status::failed || item->second->status == Status::cancelled);
        if (isWantedAgain) again.push_back(item->second);
        const bool isHere = isKnown ? item->second->status == Status::completed : here->contains(placeOf(each));
        if (deletes && isHere && !(isKnown && isDeletedLater(*item->second))) ++kept;
        return isKnown || isHere;
    });
    tellGoingOn(request.name, meant.size(), listed->size() + again.size());
    if (differs) tellDeletion(request.name, deletes);
    if (kept > 0)
        running().fail(fmt::format("\"{}\": {} here already, and not deleted from put.io.", printable(request.name),
                                   kept == 1 ? "1 file is" : fmt::format("{} files are", kept)));
    if (walk.cut()) running().fail(*walk.cut());
    deletes = deletes && walk.isComplete();
    DownloadManager& downloads = running().downloads();
    for (const ConstDownloadPointer& item : again) downloads.retry(item);
    for (const ConstDownloadPointer& item : unfinished_)
        if (meant.contains({item->fileID, *item->destinationFolder})) downloads.resume(item);
    if (!batch_ && listed->size() > 1) request.batchID = request.groupID;
    for (const ListedFile& each : *listed)
        downloads.enqueue(each.file, {.destination = DestinationFolder{each.folder, request.destination.bookmark},
                                      .deleteAfterDownload = deletes,
                                      .batchID = request.batchID});
    co_return true;
}

GetCommand::QueuedBefore GetCommand::queuedBefore(bool deletes) {
    QueuedBefore before;
    for (const ConstDownloadPointer& item : unfinished_) {
        before.unfinished.emplace(item->fileID, *item->destinationFolder);
        if (isDeletedLater(*item) != deletes) before.otherwise.emplace(item->fileID, *item->destinationFolder);
    }
    for (const ConstDownloadPointer& item : running().downloads().downloads().items())
        before.known.try_emplace({item->fileID, *item->destinationFolder}, item);
    return before;
}

// Those of the files that the queue does not know, and that are on the disk in their size.
Task<Result<std::set<GetCommand::Place>>> GetCommand::onDisk(std::vector<ListedFile> files, std::stop_token stop) {
    const Platform& platform = context().platform;
    auto look = [&disk = platform.files, files = std::move(files)]() -> Result<std::set<Place>> {
        std::set<Place> found;
        for (const ListedFile& each : files)
            if (each.file.size && disk.fileSize(each.folder / each.file.name) == each.file.size)
                found.insert(placeOf(each));
        return found;
    };
    Result<std::set<Place>> found = co_await onVolume<std::set<Place>>(
        platform.loop, platform.volumes, "folder " + destination().folder.native(), std::move(stop), std::move(look));
    co_return found;
}

// A path that cannot be had does not keep the others from coming.
Task<void> GetCommand::prepare(std::stop_token stop) {
    unfinished_ = running().downloads().downloads().withStatus(
        {Status::queued, Status::downloading, Status::awaitingConflict, Status::paused});
    if (context().invocation.operands.size() > 1) batch_ = running().downloads().newBatchID();
    for (const std::string& path : context().invocation.operands) {
        Result<PutIOFile> file = co_await tree_.find(path, stop);
        Result<void> queued;
        if (file && !named_.insert(file->id).second)
            context().terminal.message(
                fmt::format("\"{}\" is named more than once; it comes once.", printable(file->name)));
        else if (file)
            queued = co_await enqueue(std::move(*file), stop);
        else
            queued = failure(file);
        if (!queued) running().fail(queued.error());
        // Should the process die before the next save, the files that were placed till then would be fetched anew.
        running().downloads().saveNow();
    }
}

Task<Result<void>> GetCommand::enqueue(PutIOFile file, std::stop_token stop) {
    const bool isRoot = file.id == fileOf(rootFolderID);
    const bool isDeletionAsked = context().invocation.has("--delete");
    const bool deletes = isDeletionAsked || context().preferences.deleteAfterDownload();
    if (!isRoot && !isUsableName(file.name))
        co_return failure(Error(ErrorCase::file, fmt::format("The name \"{}\" on put.io cannot be used on the disk. "
                                                             "Rename it on put.io, then try again.",
                                                             file.name)));
    if (!file.isFolder()) {
        if (isQueuedAlready(file, deletes)) co_return Result<void>();
        running().downloads().enqueue(
            file, {.destination = destination(), .deleteAfterDownload = deletes, .batchID = batch_});
        co_return Result<void>();
    }
    DownloadManager::FolderRequest request{folderOf(file.id), file.name, destination(), deletes && !isRoot,
                                           context().platform.random.makeUUID()};
    if (isRoot && isDeletionAsked)
        co_return failure(
            Error(ErrorCase::file, "The top folder of put.io cannot be deleted. Get its folders one by one."));
    request.batchID = batch_;
    if (!isRoot) request.destination.folder = subfolder(request.destination.folder, file.name);
    if (!isRoot && hasUnfinishedBelow(request.destination.folder)) {
        Result<bool> goesOn = co_await goOn(request, deletes, stop);
        if (!goesOn) co_return failure(goesOn);
        if (*goesOn) co_return Result<void>();
    }
    std::optional<Error> cut;
    request.onCut = [&cut](const Error& reason) { cut = reason; };
    request.onWait = [this, told = std::string()](const HoldPointer& wait) mutable {
        if (wait && std::exchange(told, wait->text) != wait->text)
            context().terminal.message(printable(wait->textAt(context().platform.clock.now())));
    };
    Result<std::vector<ConstDownloadPointer>> queued =
        co_await running().downloads().enqueueFolder(std::move(request), stop);
    if (!queued) co_return failure(queued);
    if (cut) co_return failure(std::move(*cut));
    if (queued->empty() && isDeletionAsked)
        co_return failure(Error(ErrorCase::file, fmt::format("\"{}\" holds no files: nothing came, and the folder was "
                                                             "not deleted. Delete it with: tovri-cli rm {}",
                                                             file.name, file.id.text())));
    co_return Result<void>();
}

Task<void> RunCommand::prepare(std::stop_token /*stop*/) {
    if (const auto& unreadable = running().downloads().unreadableQueue())
        running().fail(fmt::format("the saved queue cannot be read, and nothing of it goes on. It is kept as {}.",
                                   printable(unreadable->native())));
    running().tellIfNothingToDo("Nothing to do: no download waits.");
    co_return;
}

namespace {

// Whether it failed, and waits for the user or for a later try.
bool isUnfortunate(const Download& item) {
    if (item.status == Status::queued) return item.hold && item.hold->reason == Hold::Reason::later;
    return item.status == Status::failed || item.status == Status::remoteDeleteFailed || item.isDoubtful();
}

}  // namespace

std::string RetryCommand::objection() {
    if (context().invocation.operands.empty())
        return context().invocation.has("--anyway") ? "--anyway needs to know which: give the IDs of the downloads."
                                                    : "";
    const Result<QueueSnapshot> saved = readSavedQueue(context().platform);
    if (!saved) return saved.error().description;
    std::vector<UUID> ids;
    for (const DownloadRecord& item : saved->downloads) ids.push_back(item.id);
    Result<std::vector<UUID>> selected = selectItems(context().invocation.operands, ids);
    if (!selected) return selected.error().description;
    items_ = std::move(*selected);
    return {};
}

Task<void> RetryCommand::prepare(std::stop_token /*stop*/) {
    const DownloadList& list = running().downloads().downloads();
    std::vector<ConstDownloadPointer> wanted;
    for (const UUID& id : items_) wanted.push_back(list.find(id));
    if (items_.empty())
        for (const ConstDownloadPointer& item :
             list.withStatus({Status::failed, Status::completed, Status::remoteDeleteFailed, Status::queued}))
            if (isUnfortunate(*item)) wanted.push_back(item);
    for (const ConstDownloadPointer& item : wanted)
        if (item) retry(item);
    // Should the process die before the next save, what was placed till then would be fetched anew at the next retry.
    running().downloads().saveNow();
    co_return;
}

void RetryCommand::deleteAnyway(const ConstDownloadPointer& item) {
    context().terminal.message(fmt::format("{}: {} {} from put.io anyway.", printable(item->fileName),
                                           printable(item->error.value_or("")),
                                           item->folderDeleteID ? "Deleting its whole folder" : "Deleting it"));
    running().downloads().deleteAnyway(item);
}

// A download that runs, or stands on the disk, is not begun anew.
void RetryCommand::retry(const ConstDownloadPointer& item) {
    DownloadManager& downloads = running().downloads();
    if (item->status == Status::remoteDeleteFailed && item->isUnproven && context().invocation.has("--anyway"))
        deleteAnyway(item);
    else if (item->status == Status::remoteDeleteFailed)
        downloads.retryDelete(item);
    else if (item->status == Status::cancelled || item->status == Status::skipped || isUnfortunate(*item))
        downloads.retry(item);
    else if (item->status != Status::deleting)  // with the rest of its folder
        running().fail(fmt::format("{} has not failed, so it is not begun anew.", item->fileName));
}

}  // namespace tovri::cli
