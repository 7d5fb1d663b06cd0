#pragma once

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"
#include "service/records/RSSFeed.h"

namespace tovri::cli {

// feeds list
class FeedListCommand final : public Command {
public:
    explicit FeedListCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

// feeds add
class FeedAddCommand final : public Command {
public:
    explicit FeedAddCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<RSSFeed>> add(NewRSSFeed feed, std::stop_token stop);

    CommandContext& context_;
    RemoteTree tree_;
};

// feeds edit, pause, resume, rm: what is done to one feed.
class FeedStepCommand final : public Command {
public:
    explicit FeedStepCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    // The feed that the command names.
    Task<Result<RSSFeed>> find(std::stop_token stop);

    Task<Result<void>> perform(RSSFeed feed, std::stop_token stop);

    CommandContext& context_;
};

}  // namespace tovri::cli
