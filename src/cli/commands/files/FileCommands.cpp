#include "cli/commands/files/FileCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/commands/Confirmation.h"
#include "cli/display/DisplayText.h"
#include "service/ConfirmedDeletion.h"

namespace tovri::cli {
namespace {

Error ofTopFolder(std::string_view what) {
    return {ErrorCase::file, fmt::format("The top folder cannot be {}.", what)};
}

std::string counted(std::size_t count) {
    return count == 1 ? "1 file or folder" : fmt::format("{} files and folders", count);
}

}  // namespace

Task<Result<std::vector<FileID>>> entriesOf(RemoteTree* tree, std::vector<std::string> paths, std::string what,
                                            std::stop_token stop) {
    std::vector<FileID> ids;
    for (const std::string& path : paths) {
        Result<PutIOFile> entry = co_await tree->find(path, stop);
        if (!entry) co_return failure(entry);
        if (entry->id == fileOf(rootFolderID)) co_return failure(ofTopFolder(what));
        ids.push_back(entry->id);
    }
    co_return ids;
}

Task<ExitCode> MoveCommand::run(std::stop_token stop) {
    std::vector<std::string> paths = context_.invocation.operands;
    const std::string target = paths.back();
    paths.pop_back();
    Result<PutIOFile> folder = co_await tree_.findFolder(target, stop);
    if (!folder) co_return context_.fail(folder.error());
    const FolderID folderID = folderOf(folder->id);
    Result<std::vector<FileID>> ids = co_await entriesOf(&tree_, std::move(paths), "moved", stop);
    if (!ids) co_return context_.fail(ids.error());
    Result<void> done = co_await context_.api.moveFiles(*ids, folderID, stop);
    if (done) done = co_await verify(*ids, folderID, stop);
    if (!done) co_return context_.fail(done.error());
    context_.tellDone(fmt::format("Moved: {}", counted(ids->size())));
    co_return ExitCode::success;
}

// The service answers with success even when it could not move some of the files.
Task<Result<void>> MoveCommand::verify(std::vector<FileID> ids, FolderID folderID, std::stop_token stop) {
    Result<FolderListing> listing = co_await context_.api.readFolder(folderID, stop);
    const auto cut = listing ? listing->cut : std::optional(listing.error());
    for (const FileID id : ids) {
        if (listing && std::ranges::find(listing->files, id, &PutIOFile::id) != listing->files.end()) continue;
        if (!cut)
            co_return failure(
                Error(ErrorCase::file, fmt::format("put.io did not move the file with the ID {}.", id.text())));
        co_return failure(Error(
            cut->code, fmt::format("put.io says that it moved them, but it could not be seen: {}", cut->description)));
    }
    co_return Result<void>();
}

Task<ExitCode> DeleteCommand::run(std::stop_token stop) {
    if (const auto refused = refusalToAsk(context_)) co_return *refused;
    Result<std::vector<FileID>> ids = co_await entriesOf(&tree_, context_.invocation.operands, "deleted", stop);
    if (!ids) co_return context_.fail(ids.error());
    std::optional<ExitCode> refused = co_await refusalOfUser(&context_, question(), stop);
    if (refused) co_return *refused;
    Result<void> done = co_await deleteConfirmed(&context_.api, *ids, stop);
    if (!done) co_return context_.fail(done.error());
    context_.tellDone(fmt::format("Deleted: {}", counted(ids->size())));
    co_return ExitCode::success;
}

std::string DeleteCommand::question() const {
    std::string question = "Delete from put.io, folders with all that they hold:\n";
    for (const std::string& path : context_.invocation.operands) question += "  " + printable(path) + "\n";
    return question + "Are you sure?";
}

Task<ExitCode> LinkCommand::run(std::stop_token stop) {
    ExitCode code = ExitCode::success;
    for (const std::string& path : context_.invocation.operands) {
        Result<FileID> id = co_await tree_.findID(path, stop);
        Result<std::string> link = std::string();
        if (id)
            link = co_await context_.api.getDownloadURL(*id, stop);
        else
            link = failure(id);
        if (link) {
            context_.terminal.print(printable(*link));
            continue;
        }
        context_.complain(fmt::format("{}: {}", path, withAdvice(link.error())));
        if (code != ExitCode::notSignedIn) code = exitCodeOf(link.error());
    }
    co_return code;
}

}  // namespace tovri::cli
