#include "cli/commands/TransferCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/Trimmed.h"
#include "cli/commands/Confirmation.h"
#include "cli/display/DisplayText.h"
#include "cli/display/TransferListing.h"
#include "screens/transfers/TransferRow.h"

namespace tovri::cli {
namespace {

std::string named(const Transfer& transfer) {
    return fmt::format("{} (ID {})", printable(transferTitle(transfer)), transfer.id.text());
}

std::string cancelQuestion(const Transfer& transfer) {
    return fmt::format(
        "Cancel \xE2\x80\x9C{}\xE2\x80\x9D?\nput.io stops the transfer and discards what it has downloaded so far.",
        printable(transferTitle(transfer)));
}

std::string statusText(const Transfer& transfer) {
    return transfer.status.value_or("unknown");
}

}  // namespace

Task<ExitCode> TransferListCommand::run(std::stop_token stop) {
    Result<std::vector<Transfer>> transfers = co_await context_.api.listTransfers(stop);
    if (!transfers) co_return context_.fail(transfers.error());
    if (context_.invocation.has("--json"))
        context_.terminal.print(transfersJSON(*transfers));
    else
        for (const std::string& line : transferLines(*transfers, context_.outputWidth())) context_.terminal.print(line);
    co_return ExitCode::success;
}

Task<ExitCode> TransferAddCommand::run(std::stop_token stop) {
    std::string url(trimmed(context_.invocation.operands.front()));
    if (url.empty()) co_return context_.fail("the URL is empty.", ExitCode::wrongArguments);
    Result<Transfer> added = co_await add(std::move(url), stop);
    if (!added) co_return context_.fail(added.error());
    context_.tellDone("Added: " + named(*added));
    co_return ExitCode::success;
}

Task<Result<Transfer>> TransferAddCommand::add(std::string url, std::stop_token stop) {
    Result<PutIOFile> folder = co_await tree_.findFolder(context_.invocation.value("--to").value_or("/"), stop);
    if (!folder) co_return failure(folder);
    const bool extract = context_.invocation.has("--extract");
    Result<Transfer> added = co_await context_.api.addTransfer(std::move(url), folderOf(folder->id), extract, stop);
    co_return added;
}

Task<ExitCode> TransferStepCommand::run(std::stop_token stop) {
    const bool mustBeMeant = context_.invocation.command == CommandName::transfersCancel;
    if (const auto refused = mustBeMeant ? refusalToAsk(context_) : std::nullopt) co_return *refused;
    Result<Transfer> transfer = co_await find(stop);
    if (!transfer) co_return context_.fail(transfer.error());
    if (const std::string reason = objection(*transfer); !reason.empty())
        co_return context_.fail(fmt::format("\"{}\" {}", transferTitle(*transfer), reason));
    if (mustBeMeant) {
        std::optional<ExitCode> refused = co_await refusalOfUser(&context_, cancelQuestion(*transfer), stop);
        if (refused) co_return *refused;
    }
    Result<void> performed = co_await perform(transfer->id, stop);
    if (!performed) co_return context_.fail(performed.error());
    context_.tellDone(fmt::format("{}: {}", done(), named(*transfer)));
    co_return ExitCode::success;
}

// put.io takes an ID that it does not know for one that is over already.
Task<Result<Transfer>> TransferStepCommand::find(std::stop_token stop) {
    const std::string& text = context_.invocation.operands.front();
    Result<std::vector<Transfer>> transfers = co_await context_.api.listTransfers(stop);
    if (!transfers) co_return failure(transfers);
    const auto found = std::ranges::find(*transfers, TransferID::parse(text), &Transfer::id);
    if (found != transfers->end()) co_return std::move(*found);
    co_return failure(
        Error(ErrorCase::file,
              fmt::format("There is no transfer with the ID {}. tovri-cli transfers list shows what there is.", text)));
}

std::string TransferCancelCommand::objection(const Transfer& transfer) const {
    if (transferAction(transfer) == TransferRowAction::cancel) return {};
    return fmt::format("is neither active nor seeding (its status is {}), so there is nothing to cancel.",
                       statusText(transfer));
}

Task<Result<void>> TransferCancelCommand::perform(TransferID id, std::stop_token stop) {
    return context().api.cancelTransfers({id}, std::move(stop));
}

std::string TransferRetryCommand::objection(const Transfer& transfer) const {
    if (transferAction(transfer) == TransferRowAction::retry) return {};
    return fmt::format("has not failed (its status is {}), so there is nothing to retry.", statusText(transfer));
}

Task<Result<void>> TransferRetryCommand::perform(TransferID id, std::stop_token stop) {
    Result<Transfer> retried = co_await context().api.retryTransfer(id, std::move(stop));
    if (!retried) co_return failure(retried);
    co_return Result<void>();
}

Task<ExitCode> TransferCleanCommand::run(std::stop_token stop) {
    std::optional<ExitCode> refused =
        co_await refusalOfUser(&context_, "Take all completed transfers off put.io's list?", stop);
    if (refused) co_return *refused;
    Result<void> cleaned = co_await context_.api.cleanTransfers(stop);
    if (!cleaned) co_return context_.fail(cleaned.error());
    context_.tellDone("Completed transfers are off the list.");
    co_return ExitCode::success;
}

}  // namespace tovri::cli
