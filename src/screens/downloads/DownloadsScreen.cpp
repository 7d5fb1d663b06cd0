#include "screens/downloads/DownloadsScreen.h"

#include <algorithm>
#include <chrono>
#include <ranges>
#include <set>
#include <utility>

#include "base/ByteCountFormat.h"
#include "downloads/list/ListedName.h"
#include "screens/RelativeTime.h"
#include "screens/downloads/BatchRow.h"

namespace tovri {
namespace {

using Status = DownloadStatus;

// How often numbers that change all the time are told.
constexpr std::chrono::milliseconds numberPause{250};

// How long "5 min ago" may be behind.
constexpr std::chrono::minutes longestTimePause{1};

}  // namespace

DownloadsScreen::DownloadsScreen(const Surroundings& around)
    : manager_(around.manager),
      speed_(around.speed),
      preferences_(around.preferences),
      workspace_(around.workspace),
      notices_(around.notices),
      collation_(around.collation),
      loop_(around.loop),
      clock_(around.clock),
      random_(around.random),
      rows_(
          around.manager.downloads(), around.loop, [this](const ScreenChange& change) { changes_.tell(change); },
          [this] { updateChrome(); }),
      details_({around.manager, around.workspace, around.loop, around.clock, around.hosts}),
      queue_(around.manager.onChange([this](const QueueChange& change) { follow(change); })),
      limit_(around.speed.onChange([this] { updateChrome(); })) {
    chrome_ = makeChrome();
    if (showsBatches() || finishedOrder() != FinishedOrder::queue) arrangeRows();
}

void DownloadsScreen::appear() {
    if (std::exchange(isOnView_, true)) return;
    rows_.tellLook(DownloadSection::active);
    rows_.tellLook(DownloadSection::finished);
    tellNumbers();
    scheduleTimes();
    scheduleCountdown();
}

void DownloadsScreen::disappear() {
    isOnView_ = false;
    numbers_.reset();
    times_.reset();
    countdown_.reset();
    dialogs_.clear();
}

// --- What is shown ---

std::optional<Placeholder> DownloadsScreen::placeholder() const {
    if (chrome_.isFilteredEmpty) return noMatchesPlaceholder(searchText());
    if (!chrome_.isEmpty) return std::nullopt;
    return Placeholder{Placeholder::Kind::message, "arrow.down.circle", "No Downloads",
                       "Files you download will appear here.", ""};
}

std::optional<Banner> DownloadsScreen::banner() const {
    if (!chrome_.saveFailure) return std::nullopt;
    return Banner{"exclamationmark.triangle.fill", Tint::attention, *chrome_.saveFailure, "Try Again"};
}

std::string DownloadsScreen::headerAt(std::size_t row) const {
    switch (rows_.placeAt(row).section) {
        case DownloadSection::active:
            return "Active";
        case DownloadSection::paused:
            return "Paused";
        case DownloadSection::queued:
            return "Queued — " + std::to_string(rows_.count(DownloadSection::queued)) + " waiting";
        case DownloadSection::finished:
            return "Finished";
    }
    return {};
}

DownloadRow DownloadsScreen::rowAt(std::size_t row) const {
    const auto [item, batch] = rows_.at(row);
    if (!item) return batchRow(*batch, clock_.now(), manager_.holdReason());
    DownloadRow look = downloadRow(*item, clock_.now(), manager_.holdReason());
    look.isMember = batch != nullptr;
    return look;
}

std::string DownloadsScreen::titleAt(std::size_t row) const {
    const auto [item, batch] = rows_.at(row);
    return item ? std::string(listedName(*item)) : batchTitle(*batch);
}

const UUID& DownloadsScreen::idAt(std::size_t row) const {
    const auto [item, batch] = rows_.at(row);
    return item ? item->id : batch->id;
}

bool DownloadsScreen::hasProgressBarAt(std::size_t row) const {
    const auto [item, batch] = rows_.at(row);
    return item ? hasProgressBar(item->status) : hasProgressBar(*batch);
}

std::vector<UUID> DownloadsScreen::downloadsAt(const std::vector<std::size_t>& rows) const {
    std::vector<UUID> ids;
    const Batch* last = nullptr;  // whose items are there already: they stand below it
    for (const std::size_t row : rows) {
        const auto [item, batch] = rows_.at(row);
        if (item && !(batch && batch == last)) ids.push_back(item->id);
        if (item) continue;
        last = batch;
        batch->members.forEach([&](const Batch::Member& member) { ids.push_back(member.place.item->id); });
    }
    return ids;
}

std::vector<MenuItem<DownloadAction>> DownloadsScreen::menuAt(const std::vector<std::size_t>& rows) const {
    if (rows.size() == 1 && !isBatch(rows.front())) return downloadMenu(*rows_.itemAt(rows.front()));
    std::set<Status> statuses;
    for (const std::size_t row : rows) {
        const auto [item, batch] = rows_.at(row);
        statuses.merge(item ? std::set{item->status} : statusesOf(*batch));
    }
    return commonMenu(statuses);
}

std::vector<MenuItem<FinishedOrder>> DownloadsScreen::finishedMenu() const {
    std::vector<MenuItem<FinishedOrder>> menu;
    const auto add = [&](FinishedOrder order, const char* title) {
        menu.push_back({.action = order, .title = title, .isChecked = order == finishedOrder()});
    };
    add(FinishedOrder::queue, "Sort as in the Queue");
    add(FinishedOrder::time, "Sort by Time");
    add(FinishedOrder::name, "Sort by Name");
    add(FinishedOrder::size, "Sort by Size");
    add(FinishedOrder::state, "Sort by State");
    return menu;
}

std::vector<ToolbarItem<QueueAction>> DownloadsScreen::toolbar() const {
    return {{.action = QueueAction::pauseAll,
             .title = "Pause All",
             .symbol = "pause.fill",
             .help = "Pause all downloads",
             .isVisible = chrome_.canPauseAll},
            {.action = QueueAction::resumeAll,
             .title = "Resume All",
             .symbol = "play.fill",
             .help = "Resume all paused downloads",
             .isVisible = chrome_.canResumeAll},
            {.action = QueueAction::cancelAll,
             .title = "Cancel All",
             .symbol = "xmark.circle",
             .help = "Cancel all downloads",
             .isEnabled = chrome_.canCancelAll},
            {.action = QueueAction::clearFinished,
             .title = "Clear Finished",
             .symbol = "trash",
             .help = "Remove completed, failed, skipped, and cancelled",
             .isEnabled = chrome_.canClearFinished},
            {.action = QueueAction::retryFailed,
             .title = "Retry Failed",
             .symbol = "arrow.clockwise",
             .isVisible = chrome_.hasFailed,
             .isCompact = true},
            {.action = QueueAction::showFailed,
             .title = "Show Failed",
             .symbol = "xmark.circle.fill",
             .isVisible = chrome_.hasFailed,
             .isCompact = true},
            {.kind = ToolbarItem<QueueAction>::Kind::searchField, .title = "Filter downloads"}};
}

DownloadsScreen::Chrome DownloadsScreen::makeChrome() const {
    const DownloadList& list = manager_.downloads();
    const bool hasPausable = list.count({Status::queued, Status::downloading, Status::awaitingConflict}) > 0;
    const bool hasPaused = list.count(Status::paused) > 0;
    const bool hasFinished = list.count({Status::completed, Status::failed, Status::cancelled, Status::skipped,
                                         Status::remoteDeleteFailed}) > 0;
    return {.isEmpty = list.items().empty(),
            .canPauseAll = hasPausable,
            .canResumeAll = hasPaused,
            .canCancelAll = hasPausable || hasPaused,
            .canClearFinished = hasFinished,
            .hasFailed = list.count(Status::failed) > 0,
            .isFilteredEmpty = !list.items().empty() && rows_.count() == 0 && !searchText().empty(),
            .searchText = searchText(),
            .summary = makeSummary(),
            .speed = tovri::speedSwitch(speed_),
            .saveFailure = manager_.saveFailure()};
}

std::vector<Label> DownloadsScreen::makeSummary() const {
    const DownloadList& list = manager_.downloads();
    std::vector<Label> parts;
    const auto addCount = [&parts](std::size_t count, const char* what, std::string_view symbol) {
        if (count > 0) parts.push_back({symbol, std::to_string(count) + what});
    };
    addCount(list.count({Status::downloading, Status::awaitingConflict, Status::deleting}), " active",
             "arrow.down.circle.fill");
    addCount(list.count(Status::queued), " queued", "clock");
    addCount(list.count(Status::paused), " paused", "pause.circle.fill");
    const BytesPerSecond speed = manager_.totalSpeed();
    if (speed < BytesPerSecond(1)) return parts;
    parts.push_back({"speedometer", formatRate(speed)});
    if (!remainingTime_.empty()) parts.push_back({"clock", remainingTime_});
    parts.push_back({"", std::to_string(static_cast<int>(manager_.overallProgress() * 100)) + "% done"});
    return parts;
}

// --- What changes ---

void DownloadsScreen::follow(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::progress) {
        rows_.markLook(change.item);  // not on view, too: batches have sums of it
        scheduleNumbers();
        return;
    }
    if (change.kind == QueueChange::Kind::status && change.item->status == Status::completed) {
        lastCompletion_ = change.item->completedAt;
        scheduleTimes();
    }
    if (change.kind == QueueChange::Kind::takenOut) return offerUndo();
    rows_.follow(change);
    if (change.item && change.item->hold) scheduleCountdown();
    scheduleNumbers();
}

void DownloadsScreen::offerUndo() {
    if (!manager_.canTakeBack()) return notices_.withdrawAnswer();
    const std::size_t count = manager_.takenOut().items.size();
    const bool isCancelled = manager_.takenOut().how == TakenOut::How::cancelled;
    notices_.tell({.text = std::to_string(count) + (count == 1 ? " download " : " downloads ") +
                           (isCancelled ? "cancelled." : "removed."),
                   .action = "Undo",
                   .perform = [this] { manager_.takeBack(); }});
}

// The time that is left to held items is told every second. Those that have a slot are told as they go on.
void DownloadsScreen::scheduleCountdown() {
    if (!isOnView_ || countdown_.isActive()) return;
    countdown_ = loop_.schedule(std::chrono::seconds(1), [this] {
        countdown_.reset();
        const DownloadList& list = manager_.downloads();
        const auto counts = [&](const std::string& what) { return list.firstHeldFor(what)->hold->until.has_value(); };
        if (!std::ranges::any_of(list.holds(), counts)) return;
        rows_.tellLook(DownloadSection::queued);
        scheduleCountdown();
    });
}

void DownloadsScreen::scheduleNumbers() {
    if (isOnView_ && !numbers_.isActive()) numbers_ = loop_.schedule(numberPause, [this] { tellNumbers(); });
}

void DownloadsScreen::tellNumbers() {
    numbers_.reset();
    remainingTime_ = manager_.queueETAText();
    rows_.tellLooks();
    updateChrome();
}

// The times of all finished rows are told when that of the newest changes, but at least once a minute.
void DownloadsScreen::scheduleTimes() {
    if (!isOnView_) return;
    MainLoop::Duration pause = longestTimePause;
    if (lastCompletion_)
        pause = std::min(pause, std::chrono::duration_cast<MainLoop::Duration>(
                                    timeToNextRelativeText(clock_.now() - *lastCompletion_)));
    times_ = loop_.schedule(pause, [this] {
        rows_.tellLook(DownloadSection::finished);
        scheduleTimes();
    });
}

void DownloadsScreen::updateChrome() {
    if (!isOnView_) return;
    Chrome chrome = makeChrome();
    if (chrome == chrome_) return;
    chrome_ = std::move(chrome);
    changes_.tell({ScreenChange::Kind::chrome});
}

}  // namespace tovri
