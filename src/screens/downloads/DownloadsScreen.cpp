#include "screens/downloads/DownloadsScreen.h"

#include <algorithm>
#include <chrono>
#include <ranges>
#include <set>
#include <utility>

#include "base/ByteCountFormat.h"
#include "screens/RelativeTime.h"

namespace tovri {
namespace {

using Status = DownloadStatus;

// How often numbers that change all the time are told.
constexpr std::chrono::milliseconds numberPause{250};

// How long "5 min ago" may be behind.
constexpr std::chrono::minutes longestTimePause{1};

// Whether several items have it done to them from the last to the first: to keep their order, or so that the end of one
// does not start another of them.
bool goesUpwards(DownloadAction action) {
    using enum DownloadAction;
    return action == moveToTop || action == moveDown || action == cancel || action == remove;
}

}  // namespace

DownloadsScreen::DownloadsScreen(DownloadManager& manager, SpeedControl& speed, Workspace& workspace, Ports ports)
    : manager_(manager),
      speed_(speed),
      workspace_(workspace),
      loop_(ports.loop),
      clock_(ports.clock),
      random_(ports.random),
      rows_(
          manager.downloads(), ports.loop, [this](const ScreenChange& change) { changes_.tell(change); },
          [this] { updateChrome(); }),
      queue_(manager.onChange([this](const QueueChange& change) { follow(change); })),
      limit_(speed.onChange([this] { updateChrome(); })) {
    chrome_ = makeChrome();
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
    return downloadRow(*rows_.itemAt(row), clock_.now(), manager_.holdReason());
}

std::vector<MenuItem<DownloadAction>> DownloadsScreen::menuAt(const std::vector<std::size_t>& rows) const {
    if (rows.size() == 1) return downloadMenu(*rows_.itemAt(rows.front()));
    std::set<Status> statuses;
    for (const std::size_t row : rows) statuses.insert(rows_.itemAt(row)->status);
    return commonMenu(statuses);
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
             .isEnabled = chrome_.canClearFinished}};
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
    return parts;
}

// --- What changes ---

void DownloadsScreen::follow(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::progress) {
        if (!isOnView_) return;
        rows_.markLook(change.item);
        scheduleNumbers();
        return;
    }
    if (change.kind == QueueChange::Kind::status && change.item->status == Status::completed) {
        lastCompletion_ = change.item->completedAt;
        scheduleTimes();
    }
    rows_.follow(change);
    if (change.item && change.item->hold) scheduleCountdown();
    scheduleNumbers();
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

// --- What the user does ---

void DownloadsScreen::perform(QueueAction action) {
    switch (action) {
        case QueueAction::pauseAll:
            return manager_.pauseAll();
        case QueueAction::resumeAll:
            return manager_.resumeAll();
        case QueueAction::cancelAll:
            return manager_.cancelAll();
        case QueueAction::clearFinished:
            return manager_.clearFinished();
    }
}

void DownloadsScreen::perform(DownloadAction action, const UUID& id) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (item && isOffered(action, *item)) act(action, item);
}

void DownloadsScreen::perform(DownloadAction action, const std::vector<UUID>& ids) {
    if (ids.size() == 1) return perform(action, ids.front());
    std::vector<ConstDownloadPointer> items;
    for (const UUID& id : ids)
        if (ConstDownloadPointer item = manager_.downloads().find(id)) items.push_back(std::move(item));
    std::ranges::sort(items, {}, [](const ConstDownloadPointer& item) { return item->position; });
    if (goesUpwards(action)) std::ranges::reverse(items);
    items.erase(items.begin(), items.begin() + stuckCount(action, items));
    for (const ConstDownloadPointer& item : items)
        if (isOffered(action, *item)) act(action, item);
}

// How many of the first ones fill the end of the queue towards which they are to move: none can pass another there.
std::ptrdiff_t DownloadsScreen::stuckCount(DownloadAction action,
                                           const std::vector<ConstDownloadPointer>& items) const {
    const ItemOrder& queue = manager_.downloads().items();
    if (action == DownloadAction::moveUp) return std::ranges::mismatch(items, queue).in1 - items.begin();
    if (action != DownloadAction::moveDown) return 0;
    return std::ranges::mismatch(items, queue | std::views::reverse).in1 - items.begin();
}

void DownloadsScreen::activate(const UUID& id) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (!item) return;
    if (const auto action = primaryAction(*item)) act(*action, item);
}

void DownloadsScreen::act(DownloadAction action, const ConstDownloadPointer& item) {
    switch (action) {
        case DownloadAction::pause:
            return manager_.pause(item);
        case DownloadAction::resume:
            return manager_.resume(item);
        case DownloadAction::cancel:
            return manager_.cancel(item);
        case DownloadAction::retry:
            return manager_.retry(item);
        case DownloadAction::retryDelete:
            return manager_.retryDelete(item);
        case DownloadAction::deleteAnyway:
            return askToDeleteAnyway(*item);
        case DownloadAction::useFolderAnyway:
            return manager_.useFolderAnyway(item);
        case DownloadAction::useAnyAccount:
            return manager_.useAnyAccount(item);
        case DownloadAction::moveToTop:
            return manager_.moveToTop(item);
        case DownloadAction::moveUp:
            return manager_.moveUp(item);
        case DownloadAction::moveDown:
            return manager_.moveDown(item);
        case DownloadAction::remove:
            return manager_.remove(item);
        case DownloadAction::reveal:
            if (item->resolvedURL) workspace_.revealFile(*item->resolvedURL);
            return;
        case DownloadAction::open:
            if (item->resolvedURL) workspace_.openFile(*item->resolvedURL);
            return;
    }
}

void DownloadsScreen::askToDeleteAnyway(const Download& item) {
    const std::string missing = item.error.value_or("");
    const char* scope = item.folderDeleteID ? " Its whole folder is deleted from put.io, with all that it holds."
                                            : " It is deleted from put.io all the same.";
    dialogs_.ask({random_.makeUUID(), "Delete “" + item.fileName + "” from put.io anyway?", missing + scope,
                  "Delete from put.io", [this, id = item.id, missing] { return deleteAnyway(id, missing); }});
}

// Only what the user has read is agreed to.
Task<Result<void>> DownloadsScreen::deleteAnyway(UUID id, std::string missing) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (item && canDeleteAnyway(*item) && item->error == missing) manager_.deleteAnyway(item);
    co_return Result<void>();
}

}  // namespace tovri
