#include "screens/downloads/BatchRow.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/ByteCountFormat.h"
#include "downloads/list/ListedName.h"

namespace tovri {
namespace {

using Status = DownloadStatus;

// What a batch looks like that has any item of that status: of several, the first one here.
constexpr std::array looks{Status::downloading, Status::awaitingConflict, Status::deleting,           Status::paused,
                           Status::queued,      Status::failed,           Status::remoteDeleteFailed, Status::completed,
                           Status::skipped,     Status::cancelled};

struct CountedStatus {
    Status status = Status::queued;
    const char* text = "";
    Tint tint = Tint::secondary;
};

// What is told by number.
constexpr std::array counted{CountedStatus{Status::awaitingConflict, "waiting for an answer", Tint::attention},
                             CountedStatus{Status::deleting, "being removed from put.io"},
                             CountedStatus{Status::failed, "failed", Tint::failure},
                             CountedStatus{Status::remoteDeleteFailed, "not deleted from put.io", Tint::attention},
                             CountedStatus{Status::completed, "completed"},
                             CountedStatus{Status::skipped, "skipped"},
                             CountedStatus{Status::cancelled, "cancelled"}};

Status lookOf(const Batch& batch) {
    const auto isThere = [&](Status status) { return batch.sums.count(status) > 0; };
    const auto found = std::ranges::find_if(looks, isThere);
    return found == looks.end() ? Status::queued : *found;
}

double fractionOf(const BatchSums& sums) {
    return sums.size > 0 ? static_cast<double>(sums.bytes) / static_cast<double>(sums.size) : 0;
}

std::string remainingTime(const BatchSums& sums) {
    const ByteCount left = sums.size - sums.bytes;
    return sums.speed.count > 0 && left > 0 ? durationText(timeFor(left, sums.speed).count()) + " left" : "";
}

Label part(std::string text, Tint tint = Tint::secondary) {
    return {"", std::move(text), tint};
}

// Before what is told by number.
std::vector<Label> statusOf(const Batch& batch, Status look, Timestamp now,
                            const std::optional<std::string>& holdReason) {
    const BatchSums& sums = batch.sums;
    const std::string sizes = formatByteCount(sums.bytes) + " / " + formatByteCount(sums.size);
    if (look == Status::paused) return {part(sizes), part("Paused " + percentText(fractionOf(sums)), Tint::attention)};
    if (look == Status::downloading) {
        std::vector<Label> parts = {part(sizes)};
        if (sums.speed.count > 0) parts.push_back(part(formatRate(sums.speed)));
        if (std::string left = remainingTime(sums); !left.empty()) parts.push_back(part(std::move(left)));
        return parts;
    }
    const Download* first = batch.firstItem();
    if (look != Status::queued || !first) return {};
    return {first->hold ? part(first->hold->textAt(now), Tint::attention) : part(holdReason.value_or("Queued"))};
}

std::vector<Label> wholeStatusOf(const Batch& batch, Timestamp now, const std::optional<std::string>& holdReason) {
    const Status look = lookOf(batch);
    std::vector<Label> parts = statusOf(batch, look, now, holdReason);
    for (const CountedStatus& each : counted)
        if (const std::size_t count = batch.sums.count(each.status); count > 0)
            parts.push_back(part(std::to_string(count) + " " + each.text, each.tint));
    if (!hasProgressBar(look) && batch.sums.size > 0) parts.push_back(part(formatByteCount(batch.sums.size)));
    return parts;
}

// Not those that show one file to the user.
std::vector<RowButton<DownloadAction>> buttonsOf(const Batch& batch) {
    std::vector<RowButton<DownloadAction>> buttons;
    for (const Status status : looks) {
        if (batch.sums.count(status) == 0) continue;
        for (RowButton<DownloadAction>& button : downloadButtons(status)) {
            const bool isThere =
                std::ranges::find(buttons, button.action, &RowButton<DownloadAction>::action) != buttons.end();
            if (button.action != DownloadAction::reveal && !isThere) buttons.push_back(std::move(button));
        }
    }
    return buttons;
}

}  // namespace

DownloadRow batchRow(const Batch& batch, Timestamp now, const std::optional<std::string>& holdReason) {
    const Status look = lookOf(batch);
    DownloadRow row{.id = batch.id,
                    .symbol = downloadSymbol(look),
                    .title = batchTitle(batch),
                    .progress = {},
                    .status = wholeStatusOf(batch, now, holdReason),
                    .buttons = buttonsOf(batch),
                    .isOpen = batch.isOpen};
    if (hasProgressBar(batch)) row.progress = progressBar(look, fractionOf(batch.sums));
    return row;
}

std::string batchTitle(const Batch& batch) {
    const Download* first = batch.firstItem();
    if (!first) return {};
    const std::size_t others = batch.members.size() - 1;
    const std::string name(listedName(*first));
    return others == 0 ? name : name + " and " + std::to_string(others) + " more";
}

bool hasProgressBar(const Batch& batch) {
    return hasProgressBar(lookOf(batch));
}

std::set<DownloadStatus> statusesOf(const Batch& batch) {
    std::set<Status> statuses;
    for (const Status status : looks)
        if (batch.sums.count(status) > 0) statuses.insert(status);
    return statuses;
}

}  // namespace tovri
