#include "downloads/deleting/RemoteDeletion.h"

#include <algorithm>

#include "downloads/deleting/FolderProof.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

namespace {

constexpr const char* nothingDeletedText = "Nothing was deleted from put.io.";

// Gathers why files must not be deleted yet, and names the first of them.
class Objections {
public:
    void add(const Error& error) {
        constexpr std::size_t mostNamed = 3;
        if (count_++ >= mostNamed) return;
        if (!text_.empty()) text_ += ' ';
        text_ += error.description;
    }

    [[nodiscard]] bool isEmpty() const { return count_ == 0; }

    [[nodiscard]] std::string text() const {
        constexpr std::size_t mostNamed = 3;
        if (count_ <= mostNamed) return text_;
        return text_ + " It is the same with " + std::to_string(count_ - mostNamed) + " more.";
    }

private:
    std::size_t count_ = 0;
    std::string text_;
};

// What is said of a folder when this item alone stands in the way, because it differs from put.io's record.
std::optional<std::string> ownObjection(const Download& item) {
    const std::optional<std::string> difference = arrivalDifference(item);
    if (!difference || !item.folderGroupID) return std::nullopt;
    return "\"" + item.fileName + "\": " + *difference + " " + nothingDeletedText;
}

// Whether put.io may have done what it was asked for.
bool isAnswerLost(const Error& error) {
    constexpr int firstServerError = 500;
    return error.code == ErrorCase::transport || error.code == ErrorCase::decoding || error.isCancellation() ||
           error.httpStatus >= firstServerError;
}

}  // namespace

// --- What is asked for ---

void RemoteDeletion::deleteFile(const DownloadPointer& item) {
    scope_.start(deleteRemote({.id = item->fileID, .items = {item}, .members = {item}}));
}

void RemoteDeletion::checkFolderGroup(const Download& item) {
    if (!item.folderGroupID || !item.folderDeleteID) return;
    const UUID group = *item.folderGroupID;
    const FolderGroups::Verdict verdict = groups_.verdict(group);
    if (verdict == FolderGroups::Verdict::wait) return;
    groups_.settle(group);
    std::vector<DownloadPointer> here = groups_.members(group, Status::completed);
    if (verdict == FolderGroups::Verdict::complete) {
        scope_.start(
            deleteRemote({.id = fileOf(*item.folderDeleteID), .items = here, .members = here, .isFolder = true}));
        return;
    }
    std::vector<std::filesystem::path> kept;
    for (const DownloadPointer& member : here)
        if (member->resolvedURL) kept.emplace_back(*member->resolvedURL);
    scope_.start(proof_.release(std::move(kept)));
}

void RemoteDeletion::tryAgain(const DownloadPointer& item, std::optional<std::string> accepted) {
    if (item->status != Status::remoteDeleteFailed) return;
    Deletion deletion{.id = item->fileID, .items = {item}, .members = {item}};
    if (item->folderDeleteID && item->folderGroupID) {
        deletion.id = fileOf(*item->folderDeleteID);
        deletion.isFolder = true;
        deletion.items = groups_.members(*item->folderGroupID, Status::remoteDeleteFailed);
        deletion.members = groups_.members(*item->folderGroupID, Status::completed);
        std::ranges::copy(deletion.items, std::back_inserter(deletion.members));
        std::ranges::sort(deletion.members, {}, [](const DownloadPointer& member) { return member->position; });
    }
    deletion.isRetry = true;
    deletion.accepted = accepted && accepted == arrivalDifference(*item) && item->folderGroupID ? ownObjection(*item)
                                                                                                : std::move(accepted);
    scope_.start(deleteRemote(std::move(deletion)));
}

// --- The deletion ---

Task<> RemoteDeletion::deleteRemote(Deletion deletion) {
    for (const DownloadPointer& item : deletion.items) {
        // Whoever was told of one may have cancelled another.
        if (item->status != Status::completed && item->status != Status::remoteDeleteFailed) continue;
        if (!service_) {
            miss(*item, {ErrorCase::notAuthenticated, "Not signed in to put.io."});
            continue;
        }
        item->error.reset();
        list_.take(*item, StatusStep::deleteRemote);
    }
    saves_.request(Urgency::gathered);
    if (!service_) co_return;
    Result<void> outcome = co_await carryOut(deletion);
    end(deletion.items, std::move(outcome));
}

Task<Result<void>> RemoteDeletion::carryOut(Deletion deletion) {
    Result<bool> isDone = co_await wasDoneBefore(deletion);
    if (!isDone) co_return failure(isDone);
    if (*isDone) co_return Result<void>();
    if (deletion.isRetry) co_await learnAgain(deletion.members);
    Result<std::vector<ProvenFile>> proven = co_await prove(deletion);
    if (!proven) co_return failure(proven);
    Result<void> unchanged = co_await proof_.lookAgain(*proven);
    if (!unchanged && unchanged.error().code == ErrorCase::unproven)
        unchanged.error().description += std::string(" ") + nothingDeletedText;
    if (!unchanged) co_return unchanged;
    if (Result<void> areHere = checkMembers(deletion); !areHere) {
        co_await proof_.takeBack(std::move(*proven));
        co_return areHere;
    }
    Result<void> deleted = co_await request(std::move(deletion), std::move(*proven));
    co_return deleted;
}

// What differed from put.io's record may be what put.io has now.
Task<> RemoteDeletion::learnAgain(std::vector<DownloadPointer> members) {
    for (const DownloadPointer& member : members) {
        if (!arrivalDifference(*member)) continue;
        Result<PutIOFile> record = co_await service_->file(member->fileID, scope_.stopToken());
        if (record) learn(*member, *record);
    }
}

// All objections are gathered, so that the user knows of each.
Task<Result<std::vector<ProvenFile>>> RemoteDeletion::prove(Deletion deletion) {
    std::vector<ProvenFile> files;
    Objections local;
    for (const DownloadPointer& member : deletion.members) {
        Result<ProvenFile> proven = co_await proof_.prove(member);
        if (proven)
            files.push_back(std::move(*proven));
        else
            local.add(proven.error());
    }
    Result<void> remote;
    if (deletion.isFolder) {
        FolderProof folder(*service_);
        remote = co_await folder.prove(folderOf(deletion.id), deletion.members, scope_.stopToken());
    } else if (deletion.items.front()->expectedSize() == 0) {
        remote = co_await proveEmpty(deletion.items.front());
    }
    if (!remote && remote.error().code != ErrorCase::unproven) co_return failure(remote);
    std::string missing = local.text();
    // What an item that arrived says of itself is said as it is.
    if (!local.isEmpty() && missing != arrivalDifference(*deletion.items.front()))
        missing += std::string(" ") + nothingDeletedText;
    if (!remote) missing += (missing.empty() ? "" : " ") + remote.error().description;
    if (missing.empty() || missing == deletion.accepted) co_return files;
    co_return failure(Error(ErrorCase::unproven, std::move(missing)));
}

// A size that put.io did not give looks like none at all.
Task<Result<void>> RemoteDeletion::proveEmpty(DownloadPointer item) {
    Result<PutIOFile> record = co_await service_->file(item->fileID, scope_.stopToken());
    if (!record) co_return failure(record);
    if (record->size == 0) co_return Result<void>();
    co_return failure(Error(ErrorCase::unproven,
                            "put.io did not say how large \"" + item->fileName + "\" is. " + nothingDeletedText));
}

// One is fetched anew, or was cancelled, while the others were proven.
Result<void> RemoteDeletion::checkMembers(const Deletion& deletion) {
    const bool areAllHere = std::ranges::all_of(deletion.members, [](const DownloadPointer& member) {
        return member->status == Status::deleting || member->status == Status::completed;
    });
    const bool areAllMeant = std::ranges::all_of(
        deletion.items, [](const DownloadPointer& item) { return item->status == Status::deleting; });
    if (areAllHere && areAllMeant) return {};
    return failure(Error(ErrorCase::file, std::string("Not all files are here any more. ") + nothingDeletedText));
}

Task<Result<void>> RemoteDeletion::request(Deletion deletion, std::vector<ProvenFile> proven) {
    Result<void> deleted = co_await service_->deleteFile(deletion.id, scope_.stopToken());
    if (deleted) co_return deleted;
    if (!isAnswerLost(deleted.error())) {
        co_await proof_.takeBack(std::move(proven));
        co_return deleted;
    }
    const bool isDone = co_await isAbsent(std::move(deletion));
    if (isDone) co_return Result<void>();
    co_return deleted;
}

// --- What became of a request whose answer was lost ---

// Whether an earlier request was carried out. Only in the account in which it was made does it mean anything that
// put.io has no such file; that account is noted before anything is asked for.
Task<Result<bool>> RemoteDeletion::wasDoneBefore(Deletion deletion) {
    Result<std::string> account = co_await service_->account(scope_.stopToken());
    if (!account) co_return false;  // what comes next will fail for the same reason
    bool wasAsked = true;
    for (const DownloadPointer& item : deletion.items) {
        const std::string owner =
            item->deletionAccount.value_or(item->account ? *item->account : *account);  // of the file
        if (owner != *account)
            co_return failure(Error(
                ErrorCase::notAuthenticated,
                "It is in the account of " + owner + ", and " + *account + " is signed in. " + nothingDeletedText));
        wasAsked = wasAsked && item->deletionAccount;
        item->deletionAccount = *account;
    }
    saves_.request(Urgency::soon);
    if (!wasAsked) co_return false;
    const bool isDone = co_await isAbsent(std::move(deletion));
    co_return isDone;
}

// Whether the account that was asked to delete it has no such file any more.
Task<bool> RemoteDeletion::isAbsent(Deletion deletion) {
    Result<std::string> account = co_await service_->account(scope_.stopToken());
    if (!account || deletion.items.front()->deletionAccount != *account) co_return false;
    Result<bool> absent = co_await service_->isAbsent(deletion.id, scope_.stopToken());
    co_return absent.value_or(false);
}

// --- How it ends ---

// Leaves those alone that have another future meanwhile.
void RemoteDeletion::end(const std::vector<DownloadPointer>& items, Result<void> outcome) {
    for (const DownloadPointer& item : items) {
        if (item->status != Status::deleting) continue;
        if (!outcome) {
            miss(*item, outcome.error());
            continue;
        }
        item->deletionAccount.reset();
        item->isUnproven = false;
        list_.take(*item, StatusStep::confirmDeletion);
    }
    saves_.request(Urgency::gathered);
}

void RemoteDeletion::miss(Download& item, const Error& reason) {
    item.error = reason.description == ownObjection(item) ? arrivalDifference(item) : reason.description;
    item.isUnproven = reason.code == ErrorCase::unproven;
    list_.take(item, StatusStep::missDeletion);
}

}  // namespace tovri
