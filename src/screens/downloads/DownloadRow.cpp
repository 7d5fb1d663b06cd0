#include "screens/downloads/DownloadRow.h"

#include <algorithm>
#include <utility>

#include "base/ByteCountFormat.h"
#include "downloads/list/ListedName.h"
#include "downloads/running/ArrivalProof.h"
#include "platform/FileManagerName.h"
#include "screens/RelativeTime.h"

namespace tovri {
namespace {

using enum DownloadAction;
using Status = DownloadStatus;
using Button = RowButton<DownloadAction>;

constexpr std::string_view undeletedSymbol = "trash.slash.fill";

const std::string revealTitle = std::string("Show in ") + fileManagerName;

const Button retryButton{retry, "arrow.clockwise", "Retry"};

std::optional<DownloadRow::ProgressBar> progressOf(const Download& item) {
    return hasProgressBar(item.status) ? std::optional(progressBar(item.status, item.progress)) : std::nullopt;
}

Label part(std::string text, Tint tint = Tint::secondary) {
    return {"", std::move(text), tint};
}

std::vector<Label> queuedStatus(const Download& item, Timestamp now, const std::optional<std::string>& holdReason) {
    if (item.hold) return {part(item.hold->textAt(now), Tint::attention)};
    std::vector<Label> parts = {part(holdReason.value_or("Queued"))};
    if (item.expectedSize() > 0) parts.push_back(part(formatByteCount(item.expectedSize())));
    return parts;
}

std::vector<Label> downloadingStatus(const Download& item, Timestamp now) {
    if (item.hold) return {part(item.progressText()), part(item.hold->textAt(now), Tint::attention)};
    std::vector<Label> parts = {part(item.progressText()), part(item.speedText()), part(item.etaText())};
    std::erase_if(parts, [](const Label& each) { return each.text.empty(); });
    return parts;
}

std::vector<Label> completedStatus(const Download& item, Timestamp now) {
    std::vector<Label> parts = {part(formatByteCount(item.bytesDownloaded))};
    if (item.completedAt) parts.push_back(part(relativeTimeText(timeSince(*item.completedAt, now)) + " ago"));
    if (item.isDoubtful()) parts.push_back(part(*item.error, Tint::attention));
    return parts;
}

std::string detailsOf(const DownloadRecord& item) {
    const auto proof = arrivalProof(item);
    if (!proof) return {};
    const std::string size = formatExactByteCount(item.bytesDownloaded);
    if (item.error) return size + ". " + *item.error;
    switch (*proof) {
        case ArrivalProof::checksum:
            return size + ", proven by put.io's checksum.";
        case ArrivalProof::size:
            return size + ", proven by the size that put.io says; it gave no checksum.";
        case ArrivalProof::none:
            return size + ". put.io gave nothing to prove them by.";
    }
    return {};
}

std::vector<Label> statusOf(const Download& item, Timestamp now, const std::optional<std::string>& holdReason) {
    switch (item.status) {
        case Status::queued:
            return queuedStatus(item, now, holdReason);
        case Status::downloading:
            return downloadingStatus(item, now);
        case Status::awaitingConflict:
            return {part("Waiting — file already exists", Tint::attention)};
        case Status::paused:
            return {part(item.progressText()), part("Paused " + item.percentText(), Tint::attention)};
        case Status::completed:
            return completedStatus(item, now);
        case Status::failed:
            return {part(item.error.value_or("Download failed"), Tint::failure)};
        case Status::cancelled:
            return {part("Cancelled")};
        case Status::skipped:
            return {part("Skipped")};
        case Status::deleting:
            return {part("Removing from put.io...")};
        case Status::remoteDeleteFailed:
            return {{undeletedSymbol, "Downloaded — couldn't delete from put.io", Tint::attention}};
    }
    return {};
}

using Menu = std::vector<MenuItem<DownloadAction>>;

// What the menu has before its common end.
Menu ownEntries(Status status) {
    switch (status) {
        case Status::downloading:
            return {{pause, "Pause"}, {cancel, "Cancel"}};
        case Status::paused:
            return {{resume, "Resume"}, {cancel, "Cancel"}};
        case Status::awaitingConflict:
            return {{cancel, "Cancel"}};
        case Status::queued:
            return {{moveToTop, "Move to Top"},
                    {moveUp, "Move Up"},
                    {moveDown, "Move Down"},
                    MenuItem<DownloadAction>::separator(),
                    {cancel, "Cancel"}};
        case Status::completed:
            return {{reveal, revealTitle}, {open, "Open"}};
        case Status::failed:
        case Status::cancelled:
        case Status::skipped:
            return {{retry, "Retry"}};
        case Status::remoteDeleteFailed:
            return {{retryDelete, "Retry Delete from put.io"}, {reveal, revealTitle}, {open, "Open"}};
        case Status::deleting:
            return {};
    }
    return {};
}

}  // namespace

std::vector<Button> downloadButtons(Status status) {
    const Button cancelButton{cancel, "xmark", "Cancel"};
    const Button revealButton{reveal, "folder", revealTitle};
    switch (status) {
        case Status::queued:
            return {{moveToTop, "arrow.up.to.line", "Move to top of queue"}, cancelButton};
        case Status::downloading:
            return {{pause, "pause.fill", "Pause"}, cancelButton};
        case Status::awaitingConflict:
            return {cancelButton};
        case Status::paused:
            return {{resume, "play.fill", "Resume"}, cancelButton};
        case Status::completed:
            return {revealButton};
        case Status::failed:
        case Status::skipped:
            return {retryButton, {remove, "xmark", "Remove"}};
        case Status::remoteDeleteFailed:
            return {{retryDelete, "arrow.clockwise", "Retry deleting from put.io"}, revealButton};
        case Status::cancelled:
        case Status::deleting:
            return {};
    }
    return {};
}

DownloadRow::Symbol downloadSymbol(Status status) {
    switch (status) {
        case Status::queued:
            return {"clock", Tint::secondary};
        case Status::downloading:
            return {"arrow.down.circle.fill", Tint::accent, true};
        case Status::awaitingConflict:
            return {"exclamationmark.triangle.fill", Tint::attention};
        case Status::paused:
            return {"pause.circle.fill", Tint::attention};
        case Status::completed:
            return {"checkmark.circle.fill", Tint::success};
        case Status::failed:
            return {"xmark.circle.fill", Tint::failure};
        case Status::cancelled:
            return {"minus.circle.fill", Tint::secondary};
        case Status::skipped:
            return {"forward.circle.fill", Tint::secondary};
        case Status::deleting:
            return {};
        case Status::remoteDeleteFailed:
            return {undeletedSymbol, Tint::attention};
    }
    return {};
}

DownloadRow::ProgressBar progressBar(DownloadStatus status, double fraction) {
    return {std::clamp(fraction, 0.0, 1.0), status == Status::paused ? Tint::attention : Tint::accent};
}

std::string DownloadRow::statusText() const {
    std::string text;
    for (const Label& each : status) {
        if (!text.empty()) text += separator;
        text += each.text;
    }
    return text;
}

DownloadRow downloadRow(const Download& item, Timestamp now, const std::optional<std::string>& holdReason) {
    DownloadRow row{.id = item.id,
                    .symbol = downloadSymbol(item.status),
                    .title = std::string(listedName(item)),
                    .progress = progressOf(item),
                    .status = statusOf(item, now, holdReason),
                    .buttons = downloadButtons(item.status),
                    .details = detailsOf(item)};
    if (item.isDoubtful()) {
        row.symbol = {"exclamationmark.triangle.fill", Tint::attention};
        row.buttons.insert(row.buttons.begin(), retryButton);
    }
    return row;
}

std::vector<MenuItem<DownloadAction>> downloadMenu(DownloadStatus status) {
    Menu menu = ownEntries(status);
    menu.push_back(MenuItem<DownloadAction>::separator());
    menu.push_back({.action = remove, .title = "Remove", .isDestructive = true});
    return menu;
}

std::vector<MenuItem<DownloadAction>> downloadMenu(const Download& item) {
    Menu menu = downloadMenu(item.status);
    if (item.hold && item.hold->reason == Hold::Reason::volume)
        menu.insert(menu.begin(), {{useFolderAnyway, "Use This Folder Anyway"}, MenuItem<DownloadAction>::separator()});
    if (item.hold && item.hold->reason == Hold::Reason::account)
        menu.insert(menu.begin(),
                    {{useAnyAccount, "Download from This Account"}, MenuItem<DownloadAction>::separator()});
    if (item.isDoubtful()) menu.insert(menu.begin(), {retry, "Retry"});
    if (canDeleteAnyway(item)) {
        const auto retrying = std::ranges::find(menu, std::optional(retryDelete), &MenuItem<DownloadAction>::action);
        menu.insert(std::next(retrying),
                    {.action = deleteAnyway, .title = "Delete from put.io Anyway", .isDestructive = true});
    }
    return menu;
}

bool canDeleteAnyway(const DownloadRecord& item) {
    return item.status == Status::remoteDeleteFailed && item.isUnproven;
}

namespace {

bool isForSeveral(const MenuItem<DownloadAction>& item) {
    return item.action != reveal && item.action != open;
}

bool isIn(const Menu& menu, const MenuItem<DownloadAction>& item) {
    return std::ranges::find(menu, item.action, &MenuItem<DownloadAction>::action) != menu.end();
}

// What any of them can do: nothing is under way that it could disturb.
Menu menuOfFinished(const std::set<Status>& statuses) {
    Menu menu;
    for (const Status status : statuses)
        for (MenuItem<DownloadAction>& item : ownEntries(status))
            if (isForSeveral(item) && !isIn(menu, item)) menu.push_back(std::move(item));
    if (!menu.empty()) menu.push_back(MenuItem<DownloadAction>::separator());
    menu.push_back(downloadMenu(*statuses.begin()).back());
    return menu;
}

}  // namespace

Menu commonMenu(const std::set<DownloadStatus>& statuses) {
    if (statuses.empty()) return {};
    if (std::ranges::all_of(statuses, isFinished)) return menuOfFinished(statuses);
    const auto isForAll = [&](const MenuItem<DownloadAction>& item) {
        const auto has = [&](Status status) { return isIn(downloadMenu(status), item); };
        return isForSeveral(item) && std::ranges::all_of(statuses, has);
    };
    Menu menu;
    for (MenuItem<DownloadAction>& item : downloadMenu(*statuses.begin())) {
        const bool isSecondSeparator = item.isSeparator() && (menu.empty() || menu.back().isSeparator());
        if (item.isSeparator() ? !isSecondSeparator : isForAll(item)) menu.push_back(std::move(item));
    }
    return menu;
}

bool isOffered(DownloadAction action, const Download& item) {
    const auto buttons = downloadButtons(item.status);
    const auto menu = downloadMenu(item);
    return std::ranges::any_of(buttons, [action](const Button& button) { return button.action == action; }) ||
           std::ranges::any_of(menu, [action](const auto& entry) { return entry.action == action; });
}

std::optional<DownloadAction> primaryAction(const Download& item) {
    return isOffered(open, item) ? std::optional(open) : std::nullopt;
}

}  // namespace tovri
