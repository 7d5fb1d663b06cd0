#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "downloads/DownloadManager.h"
#include "downloads/list/ListedName.h"
#include "platform/TextCollation.h"
#include "platform/Workspace.h"
#include "screens/ActionDialogs.h"
#include "screens/Banner.h"
#include "screens/Label.h"
#include "screens/Notices.h"
#include "screens/Placeholder.h"
#include "screens/ToolbarItem.h"
#include "screens/downloads/DownloadDetails.h"
#include "screens/downloads/DownloadRow.h"
#include "screens/downloads/NameKeys.h"
#include "screens/downloads/QueueRows.h"
#include "screens/downloads/SpeedSwitch.h"
#include "settings/DesktopPreferences.h"

namespace tovri {

// What the toolbar of the downloads screen does.
enum class QueueAction : std::uint8_t {
    pauseAll,
    resumeAll,
    cancelAll,
    clearFinished,
    retryFailed,
    showFailed,  // the face's own: it brings failedRows() into sight
};

// The queue grouped by state, what is running in sum, and what can be done to all and to each. Rows are section headers
// and downloads; reading one costs the same in a queue of ten and of a hundred thousand. Numbers that change all the
// time are told a few times a second, and only while the screen is on view.
class DownloadsScreen {
public:
    // What the references name outlives the screen.
    struct Surroundings {
        DownloadManager& manager;
        SpeedControl& speed;
        DesktopPreferences& preferences;
        Workspace& workspace;
        Notices& notices;
        const TextCollation& collation;
        MainLoop& loop;
        WallClock& clock;
        RandomSource& random;
        ServiceHosts hosts = {};
    };

    explicit DownloadsScreen(const Surroundings& surroundings);

    void appear();
    void disappear();

    Subscription onChange(std::function<void(const ScreenChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What is shown ---

    // In place of the rows while the queue is empty, or the filter lets none through. Its button is search("").
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    // The queue cannot be saved. Its button is retrySaving().
    [[nodiscard]] std::optional<Banner> banner() const;

    // Above the rows; as of the last time that the screen was on view.
    [[nodiscard]] const std::vector<Label>& summary() const { return chrome_.summary; }

    // At the other end of the summary.
    [[nodiscard]] const SpeedSwitch& speedSwitch() const { return chrome_.speed; }

    [[nodiscard]] std::vector<ToolbarItem<QueueAction>> toolbar() const;

    // What the names of the rows contain; empty for all rows.
    [[nodiscard]] const std::string& searchText() const { return chrome_.searchText; }

    // Of those on view, and of the closed batches that hold any. Looks at every row.
    [[nodiscard]] std::vector<std::size_t> failedRows() const;

    [[nodiscard]] std::size_t rowCount() const { return rows_.count(); }

    [[nodiscard]] bool isHeader(std::size_t row) const { return !rows_.placeAt(row).index; }

    // Of a header too.
    [[nodiscard]] DownloadSection sectionAt(std::size_t row) const { return rows_.placeAt(row).section; }

    [[nodiscard]] std::string headerAt(std::size_t row) const;

    [[nodiscard]] bool isBatch(std::size_t row) const { return rows_.batchAt(row) != nullptr; }

    // The row must not be a header, here and below.
    [[nodiscard]] DownloadRow rowAt(std::size_t row) const;

    // Parts of it that are asked for every row.
    [[nodiscard]] std::string titleAt(std::size_t row) const;

    // A batch has one row for each section that it has items in, and in all of them the same ID.
    [[nodiscard]] const UUID& idAt(std::size_t row) const;
    [[nodiscard]] bool hasProgressBarAt(std::size_t row) const;

    // The downloads of these rows, each once: a batch's row stands for all of its items in the section.
    [[nodiscard]] std::vector<UUID> downloadsAt(const std::vector<std::size_t>& rows) const;

    // The context menu of one row, or of several together.
    [[nodiscard]] std::vector<MenuItem<DownloadAction>> menuAt(const std::vector<std::size_t>& rows) const;

    // The context menu of the finished ones' header: the order that they are shown in.
    [[nodiscard]] std::vector<MenuItem<FinishedOrder>> finishedMenu() const;

    // Where the download stands, or the closed batch that holds it, to find a selection again after a reset. Looks at
    // every row.
    [[nodiscard]] std::optional<std::size_t> rowOf(const UUID& id) const { return rows_.rowOf(id); }

    // The row of the open batch that the row is in.
    [[nodiscard]] std::optional<std::size_t> batchRowOf(std::size_t row) const { return rows_.batchRowOf(row); }

    [[nodiscard]] bool showsBatches() const { return preferences_.showsBatches(); }

    [[nodiscard]] FinishedOrder finishedOrder() const { return preferences_.finishedOrder(); }

    // Of what the face says is selected.
    [[nodiscard]] DownloadDetails& details() { return details_; }

    [[nodiscard]] const ActionDialogs& dialogs() const { return dialogs_; }

    [[nodiscard]] ActionDialogs& dialogs() { return dialogs_; }

    // --- What the user does ---

    void perform(QueueAction action);

    void search(std::string text);

    // Both are kept for the next time.
    void showBatches(bool shows);
    void orderFinished(FinishedOrder order);

    // Of a batch's row.
    void setOpen(std::size_t row, bool isOpen) { rows_.setOpen(row, isOpen); }

    // Does nothing when the download has gone, or is past the state in which its row offered the action.
    void perform(DownloadAction action, const UUID& id);

    // Likewise to each of them, and in such an order that they keep theirs.
    void perform(DownloadAction action, const std::vector<UUID>& ids);

    void limitSpeed(bool limits) { speed_.setOn(limits); }

    void retrySaving() { manager_.saveSoon(); }

    // A double click, or Return.
    void activate(const UUID& id);

private:
    // What stands beside the rows, as told.
    struct Chrome {
        bool isEmpty = true;
        bool canPauseAll = false;
        bool canResumeAll = false;
        bool canCancelAll = false;
        bool canClearFinished = false;
        bool hasFailed = false;
        bool isFilteredEmpty = false;
        std::string searchText;
        std::vector<Label> summary;
        SpeedSwitch speed;
        std::optional<std::string> saveFailure;

        bool operator==(const Chrome&) const = default;
    };

    void arrangeRows();
    void follow(const QueueChange& change);
    void offerUndo();
    void scheduleNumbers();
    void tellNumbers();
    void scheduleTimes();
    void scheduleCountdown();
    void updateChrome();
    [[nodiscard]] Chrome makeChrome() const;
    [[nodiscard]] std::vector<Label> makeSummary() const;
    [[nodiscard]] std::ptrdiff_t stuckCount(DownloadAction action,
                                            const std::vector<ConstDownloadPointer>& items) const;
    void act(DownloadAction action, const ConstDownloadPointer& item);
    void askToDeleteAnyway(const Download& item);
    Task<Result<void>> deleteAnyway(UUID id, std::string missing);

    DownloadManager& manager_;
    SpeedControl& speed_;
    DesktopPreferences& preferences_;
    Workspace& workspace_;
    Notices& notices_;
    const TextCollation& collation_;
    NameKeys names_{collation_};
    MainLoop& loop_;
    WallClock& clock_;
    RandomSource& random_;
    bool isOnView_ = false;
    Chrome chrome_;
    std::string remainingTime_;  // of the whole queue, as of the last telling of numbers
    std::optional<Timestamp> lastCompletion_;
    Signal<const ScreenChange&> changes_;
    QueueRows rows_;
    DownloadDetails details_;
    Subscription numbers_;
    Subscription times_;
    Subscription countdown_;
    Subscription queue_;
    Subscription limit_;
    ActionDialogs dialogs_{scope_};
    TaskScope scope_;
};

}  // namespace tovri
