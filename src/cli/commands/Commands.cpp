#include "cli/commands/Command.h"
#include "cli/commands/ConfigCommand.h"
#include "cli/commands/DownloadCommands.h"
#include "cli/commands/FeedCommands.h"
#include "cli/commands/SignInCommands.h"
#include "cli/commands/TransferCommands.h"
#include "cli/commands/files/FileCommands.h"
#include "cli/commands/files/ListCommand.h"
#include "cli/commands/files/PutCommand.h"
#include "cli/commands/queue/ControlCommand.h"
#include "cli/commands/queue/QueueCommand.h"
#include "cli/commands/rules/RuleCommands.h"
#include "cli/commands/rules/SyncCommands.h"

namespace tovri::cli {

std::unique_ptr<Command> makeCommand(CommandContext& context) {
    switch (context.invocation.command) {
        case CommandName::login:
            return std::make_unique<LoginCommand>(context);
        case CommandName::logout:
            return std::make_unique<LogoutCommand>(context);
        case CommandName::status:
            return std::make_unique<StatusCommand>(context);
        case CommandName::ls:
            return std::make_unique<ListCommand>(context);
        case CommandName::get:
            return std::make_unique<GetCommand>(context);
        case CommandName::run:
            return std::make_unique<RunCommand>(context);
        case CommandName::queue:
            return std::make_unique<QueueCommand>(context);
        case CommandName::retry:
            return std::make_unique<RetryCommand>(context);
        case CommandName::put:
            return std::make_unique<PutCommand>(context);
        case CommandName::mv:
            return std::make_unique<MoveCommand>(context);
        case CommandName::rm:
            return std::make_unique<DeleteCommand>(context);
        case CommandName::link:
            return std::make_unique<LinkCommand>(context);
        case CommandName::config:
            return std::make_unique<ConfigCommand>(context);
        case CommandName::watch:
            return std::make_unique<WatchCommand>(context);
        case CommandName::rulesList:
            return std::make_unique<RuleListCommand>(context);
        case CommandName::rulesAdd:
            return std::make_unique<RuleAddCommand>(context);
        case CommandName::rulesEdit:
            return std::make_unique<RuleEditCommand>(context);
        case CommandName::rulesEnable:
        case CommandName::rulesDisable:
        case CommandName::rulesRemove:
            return std::make_unique<RuleStepCommand>(context);
        case CommandName::rulesSync:
            return std::make_unique<RuleSyncCommand>(context);
        case CommandName::transfersList:
            return std::make_unique<TransferListCommand>(context);
        case CommandName::transfersAdd:
            return std::make_unique<TransferAddCommand>(context);
        case CommandName::transfersCancel:
            return std::make_unique<TransferCancelCommand>(context);
        case CommandName::transfersRetry:
            return std::make_unique<TransferRetryCommand>(context);
        case CommandName::transfersClean:
            return std::make_unique<TransferCleanCommand>(context);
        case CommandName::feedsList:
            return std::make_unique<FeedListCommand>(context);
        case CommandName::feedsAdd:
            return std::make_unique<FeedAddCommand>(context);
        case CommandName::feedsEdit:
        case CommandName::feedsPause:
        case CommandName::feedsResume:
        case CommandName::feedsRemove:
            return std::make_unique<FeedStepCommand>(context);
        case CommandName::pause:
        case CommandName::resume:
        case CommandName::cancel:
        case CommandName::remove:
        case CommandName::top:
        case CommandName::clear:
            break;
    }
    return std::make_unique<ControlCommand>(context);
}

}  // namespace tovri::cli
