#pragma once

#include <string>
#include <vector>

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"

namespace tovri::cli {

// The IDs of what the paths name, all of which is there. Fails for the top folder, which cannot be "moved" or
// "deleted", as `what` says. `tree` outlives the task.
Task<Result<std::vector<FileID>>> entriesOf(RemoteTree* tree, std::vector<std::string> paths, std::string what,
                                            std::stop_token stop);

// mv
class MoveCommand final : public Command {
public:
    explicit MoveCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<void>> verify(std::vector<FileID> ids, FolderID folderID, std::stop_token stop);

    CommandContext& context_;
    RemoteTree tree_;
};

// rm
class DeleteCommand final : public Command {
public:
    explicit DeleteCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    [[nodiscard]] std::string question() const;

    CommandContext& context_;
    RemoteTree tree_;
};

// link
class LinkCommand final : public Command {
public:
    explicit LinkCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
    RemoteTree tree_;
};

}  // namespace tovri::cli
