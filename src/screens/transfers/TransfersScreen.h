#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/MainLoop.h"
#include "platform/RandomSource.h"
#include "platform/Workspace.h"
#include "screens/ActionDialogs.h"
#include "screens/Placeholder.h"
#include "screens/RowList.h"
#include "screens/ScreenChange.h"
#include "screens/ToolbarItem.h"
#include "screens/transfers/AddTransferSheet.h"
#include "screens/transfers/TransferRow.h"

namespace tovri {

enum class TransferToolbarAction : std::uint8_t { add, clean };

// The transfers that put.io runs for the account, in sections. Asks for them again every few seconds while it is on
// view, and holds nothing while it is not.
class TransfersScreen {
public:
    static constexpr std::chrono::seconds refreshInterval{5};

    // All outlive the screen.
    TransfersScreen(PutIOAPI& api, Workspace& workspace, MainLoop& loop, RandomSource& random);

    void appear();
    void disappear();

    // --- What is seen ---

    // Instead of the rows and the summary. Its button is openPlaceholder().
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    // The line above the list.
    [[nodiscard]] std::vector<Label> summary() const { return transferSummary(transfers_); }

    [[nodiscard]] std::vector<ToolbarItem<TransferToolbarAction>> toolbar() const;

    // Headers and transfers.
    [[nodiscard]] const std::vector<TransferRow>& rows() const { return rows_.rows(); }

    [[nodiscard]] const ActionDialogs& dialogs() const { return dialogs_; }

    [[nodiscard]] ActionDialogs& dialogs() { return dialogs_; }

    [[nodiscard]] const AddTransferSheet& addSheet() const { return addSheet_; }

    [[nodiscard]] AddTransferSheet& addSheet() { return addSheet_; }

    // The sheet tells of its own changes.
    Subscription onChange(std::function<void(const ScreenChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What the user does ---

    void openPlaceholder();

    // Asks for the transfers now. Tells as little of a failure as when it asks by itself. Does nothing where it cannot.
    void refresh();

    // Not while they are being asked for the first time.
    [[nodiscard]] bool canRefresh() const { return isOnView_ && !isLoading_; }

    void perform(TransferToolbarAction action);

    // Nothing happens when the transfer has left the list or its state allows this no more.
    void perform(TransferRowAction action, TransferID transferID);

private:
    [[nodiscard]] const Transfer* find(TransferID transferID) const;
    void show(std::vector<Transfer> transfers);
    void askToCancel(const Transfer& transfer);

    // `visit` is stopped when the screen goes out of view.
    Task<> watch(std::stop_token visit);
    Task<> load(std::stop_token visit);
    Task<Result<void>> fetch(std::stop_token visit);
    Task<> fetchQuietly(std::stop_token visit);
    Task<Result<void>> cancel(TransferID transferID);
    Task<> retry(TransferID transferID, std::stop_token visit);
    Task<> clean(std::stop_token visit);

    PutIOAPI& api_;
    MainLoop& loop_;
    RandomSource& random_;
    std::vector<Transfer> transfers_;  // in the service's order
    RowList<TransferRow, TransferRowTraits> rows_;
    bool isLoading_ = false;
    std::optional<std::string> error_;  // of a load that is not made again by itself
    std::uint64_t lastRequest_ = 0;
    std::uint64_t shownRequest_ = 0;  // an answer to an older one is out of date
    bool isOnView_ = false;
    std::stop_source visit_;
    AddTransferSheet addSheet_;
    Signal<const ScreenChange&> changes_;
    ActionDialogs dialogs_{scope_};
    Subscription followingDialogs_;
    TaskScope scope_;
};

}  // namespace tovri
