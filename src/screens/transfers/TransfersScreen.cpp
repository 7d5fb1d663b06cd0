#include "screens/transfers/TransfersScreen.h"

#include <algorithm>

#include "platform/Await.h"

namespace tovri {

TransfersScreen::TransfersScreen(PutIOAPI& api, Workspace& workspace, MainLoop& loop, RandomSource& random)
    : api_(api),
      loop_(loop),
      random_(random),
      addSheet_(api, workspace),
      followingDialogs_(dialogs_.onChange([this] { changes_.tell({}); })) {}

void TransfersScreen::appear() {
    if (std::exchange(isOnView_, true)) return;
    visit_ = std::stop_source();
    scope_.start(watch(visit_.get_token()));
}

void TransfersScreen::disappear() {
    if (!std::exchange(isOnView_, false)) return;
    visit_.request_stop();
    isLoading_ = false;
    error_.reset();
    addSheet_.close();
    dialogs_.clear();
    show({});
}

// --- What is seen ---

std::optional<Placeholder> TransfersScreen::placeholder() const {
    if (!transfers_.empty()) return std::nullopt;
    if (isLoading_) return progressPlaceholder("Loading transfers...");
    if (error_) return errorPlaceholder(*error_);
    return Placeholder{Placeholder::Kind::message, "arrow.up.arrow.down.circle", "No Transfers",
                       "Add a magnet link or torrent URL to start a transfer on put.io.", "Add Transfer"};
}

std::vector<ToolbarItem<TransferToolbarAction>> TransfersScreen::toolbar() const {
    const bool hasFinished = std::ranges::find(transfers_, TransferGroup::completed, groupOf) != transfers_.end();
    return {{.action = TransferToolbarAction::add, .title = "Add Transfer", .symbol = "plus"},
            {.action = TransferToolbarAction::clean,
             .title = "Clean",
             .symbol = "trash",
             .help = "Remove completed transfers",
             .isEnabled = hasFinished}};
}

void TransfersScreen::show(std::vector<Transfer> transfers) {
    if (transfers == transfers_) return;
    transfers_ = std::move(transfers);
    rows_.replace(transferRows(transfers_), [this](const ScreenChange& change) { changes_.tell(change); });
    changes_.tell({});
}

// --- Loading ---

Task<> TransfersScreen::watch(std::stop_token visit) {
    co_await load(visit);
    while (!visit.stop_requested()) {
        (void)co_await sleepFor(loop_, refreshInterval, visit);
        if (visit.stop_requested()) break;
        (void)co_await fetch(visit);
    }
}

Task<> TransfersScreen::load(std::stop_token visit) {
    isLoading_ = true;
    error_.reset();
    changes_.tell({});
    const Result<void> fetched = co_await fetch(visit);
    if (visit.stop_requested()) co_return;
    isLoading_ = false;
    if (!fetched) error_ = fetched.error().description;
    changes_.tell({});
}

Task<Result<void>> TransfersScreen::fetch(std::stop_token visit) {
    const std::uint64_t request = ++lastRequest_;
    Result<std::vector<Transfer>> listed = co_await api_.listTransfers(visit);
    if (!listed) co_return failure(listed);
    if (visit.stop_requested() || request < shownRequest_) co_return Result<void>();
    shownRequest_ = request;
    const bool hadError = std::exchange(error_, std::nullopt).has_value();
    show(std::move(*listed));
    if (hadError) changes_.tell({});
    co_return Result<void>();
}

Task<> TransfersScreen::fetchQuietly(std::stop_token visit) {
    (void)co_await fetch(visit);
}

// --- What the user does ---

void TransfersScreen::openPlaceholder() {
    if (error_)
        scope_.start(load(visit_.get_token()));
    else
        addSheet_.open();
}

void TransfersScreen::refresh() {
    if (!canRefresh()) return;
    scope_.start(error_ ? load(visit_.get_token()) : fetchQuietly(visit_.get_token()));
}

void TransfersScreen::perform(TransferToolbarAction action) {
    switch (action) {
        case TransferToolbarAction::add:
            addSheet_.open();
            break;
        case TransferToolbarAction::clean:
            scope_.start(clean(visit_.get_token()));
            break;
    }
}

void TransfersScreen::perform(TransferRowAction action, TransferID transferID) {
    const Transfer* transfer = find(transferID);
    if (!transfer || transferAction(*transfer) != action) return;
    switch (action) {
        case TransferRowAction::cancel:
            askToCancel(*transfer);
            break;
        case TransferRowAction::retry:
            scope_.start(retry(transferID, visit_.get_token()));
            break;
    }
}

const Transfer* TransfersScreen::find(TransferID transferID) const {
    const auto found = std::ranges::find(transfers_, transferID, &Transfer::id);
    return found == transfers_.end() ? nullptr : &*found;
}

void TransfersScreen::askToCancel(const Transfer& transfer) {
    dialogs_.ask({random_.makeUUID(), "Cancel “" + transferTitle(transfer) + "”?",
                  "put.io stops the transfer and discards what it has downloaded so far.", "Cancel Transfer",
                  [this, id = transfer.id] { return cancel(id); }});
}

Task<Result<void>> TransfersScreen::cancel(TransferID transferID) {
    const std::stop_token visit = visit_.get_token();
    Result<void> cancelled = co_await api_.cancelTransfers({transferID}, scope_.stopToken());
    if (visit.stop_requested()) co_return Result<void>();  // nobody looks any more
    if (!cancelled) co_return failure(cancelled);
    (void)co_await fetch(visit);
    co_return Result<void>();
}

Task<> TransfersScreen::retry(TransferID transferID, std::stop_token visit) {
    const Result<Transfer> retried = co_await api_.retryTransfer(transferID, scope_.stopToken());
    if (!retried && !visit.stop_requested()) dialogs_.showFailure(retried.error());
    (void)co_await fetch(visit);
}

Task<> TransfersScreen::clean(std::stop_token visit) {
    const Result<void> cleaned = co_await api_.cleanTransfers(scope_.stopToken());
    if (cleaned)
        (void)co_await fetch(visit);
    else if (!visit.stop_requested())
        dialogs_.showFailure(cleaned.error());
}

}  // namespace tovri
