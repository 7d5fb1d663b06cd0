#pragma once

#include <string>
#include <vector>

#include "cli/commands/Command.h"
#include "cli/commands/RemoteTree.h"

namespace tovri::cli {

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
    Task<bool> isConfirmed(std::stop_token stop);

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
