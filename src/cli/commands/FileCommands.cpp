#include "cli/commands/FileCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/commands/Question.h"
#include "cli/display/DisplayText.h"
#include "service/ConfirmedDeletion.h"

namespace tovri::cli {

Task<ExitCode> MoveCommand::run(std::stop_token stop) {
    std::vector<std::string> paths = context_.invocation.operands;
    const std::string target = paths.back();
    paths.pop_back();
    Result<PutIOFile> folder = co_await tree_.findFolder(target, stop);
    if (!folder) {
        context_.complain(folder.error());
        co_return ExitCode::failure;
    }
    const FolderID folderID = folderOf(folder->id);
    std::vector<FileID> ids;
    for (const std::string& path : paths) {
        Result<FileID> id = co_await tree_.findID(path, stop);
        if (!id) {
            context_.complain(id.error());
            co_return ExitCode::failure;
        }
        ids.push_back(*id);
    }
    Result<void> done = co_await context_.api.moveFiles(ids, folderID, stop);
    if (done) done = co_await verify(std::move(ids), folderID, stop);
    if (!done) context_.complain(done.error());
    co_return done ? ExitCode::success : ExitCode::failure;
}

// The service answers with success even when it could not move some of the files.
Task<Result<void>> MoveCommand::verify(std::vector<FileID> ids, FolderID folderID, std::stop_token stop) {
    Result<FolderListing> listing = co_await context_.api.readFolder(folderID, stop);
    if (!listing || listing->cut) co_return Result<void>();  // it cannot be told
    for (const FileID id : ids)
        if (std::ranges::find(listing->files, id, &PutIOFile::id) == listing->files.end())
            co_return failure(
                Error(ErrorCase::file, fmt::format("put.io did not move the file with the ID {}.", id.text())));
    co_return Result<void>();
}

Task<ExitCode> DeleteCommand::run(std::stop_token stop) {
    if (!context_.invocation.has("--yes") && !context_.terminal.canAsk()) {
        context_.complain("there is no terminal to ask on; --yes deletes without asking.");
        co_return ExitCode::wrongArguments;
    }
    std::vector<FileID> ids;
    for (const std::string& path : context_.invocation.operands) {
        Result<FileID> id = co_await tree_.findID(path, stop);
        if (id && *id == fileOf(rootFolderID))
            id = failure(Error(ErrorCase::file, "The top folder cannot be deleted."));
        if (!id) {
            context_.complain(id.error());
            co_return ExitCode::failure;
        }
        ids.push_back(*id);
    }
    const bool isMeant = co_await isConfirmed(stop);
    if (!isMeant) {
        context_.complain("nothing was deleted.");
        co_return ExitCode::failure;
    }
    Result<void> done = co_await deleteConfirmed(&context_.api, std::move(ids), stop);
    if (!done) context_.complain(done.error());
    co_return done ? ExitCode::success : ExitCode::failure;
}

Task<bool> DeleteCommand::isConfirmed(std::stop_token stop) {
    if (context_.invocation.has("--yes")) co_return true;
    std::string question = "Delete from put.io, folders with all that they hold:\n";
    for (const std::string& path : context_.invocation.operands) question += "  " + printable(path) + "\n";
    question += "Are you sure? [y/N] ";
    Result<std::optional<std::string>> answer =
        co_await ask(context_.platform.loop, context_.terminal, std::move(question), Terminal::Echo::shown, stop);
    co_return isYes(answer);
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
        code = ExitCode::failure;
    }
    co_return code;
}

}  // namespace tovri::cli
