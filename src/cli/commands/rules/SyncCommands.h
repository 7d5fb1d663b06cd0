#pragma once

#include <optional>

#include "automation/SyncManager.h"
#include "cli/LastTold.h"
#include "cli/commands/DownloadCommands.h"

namespace tovri::cli {

// rules sync
class RuleSyncCommand final : public DownloadCommand {
public:
    explicit RuleSyncCommand(CommandContext& context) : DownloadCommand(context) {}

private:
    [[nodiscard]] std::string objection() override;
    Task<void> prepare(std::stop_token stop) override;

    std::optional<UUID> rule_;  // none: all
};

// watch
class WatchCommand final : public DownloadCommand {
public:
    explicit WatchCommand(CommandContext& context);

private:
    [[nodiscard]] std::string objection() override;
    Task<void> prepare(std::stop_token stop) override;

    void follow(const SyncChange& change);
    void tellFailure();

    LastTold failures_;  // by rule
    Subscription rounds_;
};

}  // namespace tovri::cli
