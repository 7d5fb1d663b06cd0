#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "downloads/list/Download.h"
#include "screens/Label.h"
#include "screens/MenuItem.h"
#include "screens/RowButton.h"
#include "screens/Tint.h"

namespace tovri {

// What the user can do to one download.
enum class DownloadAction : std::uint8_t {
    pause,
    resume,
    cancel,
    retry,
    retryDelete,
    deleteAnyway,
    useFolderAnyway,  // although another volume is expected there
    useAnyAccount,    // although it was queued in another one
    moveToTop,
    moveUp,
    moveDown,
    reveal,  // in the file manager
    open,
    remove,
};

// How one download looks.
struct DownloadRow {
    // The sign before the title.
    struct Symbol {
        std::string_view name;  // empty: a small sign that turns
        Tint tint = Tint::secondary;
        bool pulses = false;
    };

    struct ProgressBar {
        double fraction = 0;  // 0 to 1
        Tint tint = Tint::accent;
    };

    static constexpr std::string_view separator = " · ";  // between the parts of the status line

    UUID id;
    Symbol symbol;
    std::string title;
    std::optional<ProgressBar> progress;  // above the status line
    std::vector<Label> status;
    std::vector<RowButton<DownloadAction>> buttons;
    std::optional<bool> isOpen = {};  // of a batch; none: this is a single download
    bool isMember = false;            // of the open batch above it
    std::string details = {};         // of what has arrived: to the byte, and by what it is known to be whole; or empty

    // The whole status line in plain text.
    [[nodiscard]] std::string statusText() const;
};

// `now` tells how long ago the download was completed, and how long it still waits; `holdReason`, where the whole queue
// waits, for what.
[[nodiscard]] DownloadRow downloadRow(const Download& item, Timestamp now,
                                      const std::optional<std::string>& holdReason = std::nullopt);

// The parts of it that the status alone decides.
[[nodiscard]] DownloadRow::Symbol downloadSymbol(DownloadStatus status);
[[nodiscard]] std::vector<RowButton<DownloadAction>> downloadButtons(DownloadStatus status);
[[nodiscard]] DownloadRow::ProgressBar progressBar(DownloadStatus status, double fraction);

// Whether a row of that status has a progress bar.
[[nodiscard]] constexpr bool hasProgressBar(DownloadStatus status) {
    return status == DownloadStatus::downloading || status == DownloadStatus::paused;
}

// The context menu of a row.
[[nodiscard]] std::vector<MenuItem<DownloadAction>> downloadMenu(const Download& item);

// What of it every row of that status has.
[[nodiscard]] std::vector<MenuItem<DownloadAction>> downloadMenu(DownloadStatus status);

// That of several rows together: what each of them has and what makes sense for more than one; of finished ones, what
// any of them has.
[[nodiscard]] std::vector<MenuItem<DownloadAction>> commonMenu(const std::set<DownloadStatus>& statuses);

// Whether the item's row has the action as a button or in its menu.
[[nodiscard]] bool isOffered(DownloadAction action, const Download& item);

// Whether put.io's copy is still there because something is missing here.
[[nodiscard]] bool canDeleteAnyway(const DownloadRecord& item);

// What a double click or Return does, if anything.
[[nodiscard]] std::optional<DownloadAction> primaryAction(const Download& item);

}  // namespace tovri
