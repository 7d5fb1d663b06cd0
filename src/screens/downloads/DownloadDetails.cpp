#include "screens/downloads/DownloadDetails.h"

#include <chrono>
#include <ranges>
#include <utility>

#include "downloads/list/ListedName.h"
#include "downloads/running/ArrivalProof.h"
#include "platform/FileManagerName.h"
#include "screens/DateText.h"
#include "screens/downloads/DownloadRow.h"

namespace tovri {
namespace {

using Status = DownloadStatus;
using Fact = Details::Fact;

// How often what changes all the time is told.
constexpr std::chrono::milliseconds numberPause{250};

bool hasArrived(const Download& item) {
    return arrivalProof(item).has_value();
}

bool isGoneFromPutIO(const Download& item) {
    return item.status == Status::completed && item.deleteAfterDownload;
}

std::optional<ByteCount> sizeOf(const Download& item) {
    if (item.expectedSize() > 0) return item.expectedSize();
    return hasArrived(item) ? std::optional(item.bytesDownloaded) : std::nullopt;
}

Fact statusFact(const Download& item, Timestamp now, const std::optional<std::string>& holdReason) {
    const DownloadRow row = downloadRow(item, now, holdReason);
    const Tint tint = row.status.back().tint == Tint::secondary ? Tint::primary : row.status.back().tint;
    switch (item.status) {
        case Status::completed:
            return {"Status", item.error.value_or("Arrived"), tint};
        case Status::remoteDeleteFailed:
            return {"Status", row.statusText() + (item.error ? ": " + *item.error : ""), tint};
        default:
            return {"Status", row.statusText(), tint};
    }
}

std::string sourceText(const Download& item) {
    std::string text = "File " + item.fileID.text() + " on put.io";
    if (item.account) text += ", account " + *item.account;
    return isGoneFromPutIO(item) ? text + "; deleted there" : text;
}

std::string destinationText(const Download& item) {
    return item.resolvedURL.value_or((*item.destinationFolder / item.fileName).native());
}

std::string proofText(const Download& item) {
    switch (arrivalProof(item).value()) {
        case ArrivalProof::checksum:
            return "By put.io's checksum";
        case ArrivalProof::size:
            return "By the size that put.io says; it gave no checksum";
        case ArrivalProof::none:
            break;
    }
    const bool differs = arrivalDifference(item).has_value();
    return differs ? "No: it differs from put.io's record" : "No: put.io gave nothing to prove it by";
}

void addWhatItIs(std::vector<Fact>& facts, const Download& item) {
    const auto size = sizeOf(item);
    facts.push_back({"Source", sourceText(item)});
    if (item.syncRuleID) facts.push_back({"Queued by", "An automation rule"});
    facts.push_back({"Destination", destinationText(item)});
    facts.push_back({"Size", size ? wholeSizeText(*size) : "Unknown"});
    if (hasArrived(item)) facts.push_back({"Proven", proofText(item)});
    if (item.arrivedChecksum || item.crc32)
        facts.push_back({"Checksum (CRC-32)", item.arrivedChecksum.value_or(item.crc32.value_or(""))});
}

std::string endLabel(Status status) {
    switch (status) {
        case Status::failed:
            return "Failed";
        case Status::cancelled:
            return "Cancelled";
        case Status::skipped:
            return "Skipped";
        default:
            return "Arrived";
    }
}

void addTimes(std::vector<Fact>& facts, const Download& item, const WallClock& clock) {
    if (item.queuedAt) facts.push_back({"Queued", dateText(*item.queuedAt, clock)});
    if (item.startedAt) facts.push_back({"Started", dateText(*item.startedAt, clock)});
    if (item.completedAt) facts.push_back({endLabel(item.status), dateText(*item.completedAt, clock)});
}

// The newest first.
void addFailedTries(std::vector<Fact>& facts, const FailedTries& tries, const WallClock& clock) {
    Fact fact{.label = tries.size() < mostFailedTries ? "Failed tries" : "The last failed tries", .text = {}};
    for (const FailedTry& one : tries | std::views::reverse) {
        if (!fact.text.empty()) fact.text += '\n';
        fact.text += dateText(one.at, clock) + ": " + one.what;
    }
    facts.push_back(std::move(fact));
}

}  // namespace

Details downloadDetails(const Download& item, const WallClock& clock, int connections,
                        const std::optional<std::string>& holdReason) {
    Details details{.title = std::string(listedName(item))};
    details.facts.push_back(statusFact(item, clock.now(), holdReason));
    if (item.status == Status::downloading)
        details.facts.push_back({"Connections", connections > 0 ? std::to_string(connections) : "None now"});
    addWhatItIs(details.facts, item);
    addTimes(details.facts, item, clock);
    if (item.failedTries) addFailedTries(details.facts, *item.failedTries, clock);
    if (isOffered(DownloadAction::reveal, item))
        details.links.push_back({DetailsAction::showInFolder, "folder", std::string("Show in ") + fileManagerName});
    if (!isGoneFromPutIO(item)) details.links.push_back(putIOLink());
    return details;
}

DownloadDetails::DownloadDetails(Surroundings around)
    : around_(std::move(around)),
      queue_(around_.manager.onChange([this](const QueueChange& change) { follow(change); })) {
    select({});
}

void DownloadDetails::select(const std::vector<UUID>& items) {
    renewal_.reset();
    countdown_.reset();
    const DownloadList& list = around_.manager.downloads();
    item_ = items.size() == 1 ? list.find(items.front()) : nullptr;
    if (item_) return renew();
    SelectedSizes sizes;
    for (const UUID& id : items)
        if (const ConstDownloadPointer item = list.find(id)) sizes.add(sizeOf(*item));
    show(sizes.count > 0 ? selectionDetails(sizes, "downloads") : noDetails("Select a download to see its details."));
}

void DownloadDetails::perform(DetailsAction action) const {
    if (!item_) return;
    switch (action) {
        case DetailsAction::showInFolder:
            if (item_->resolvedURL) around_.workspace.revealFile(*item_->resolvedURL);
            return;
        case DetailsAction::openOnPutIO:
            around_.workspace.openWebAddress(around_.hosts.web + "/files/" + item_->fileID.text());
            return;
    }
}

void DownloadDetails::follow(const QueueChange& change) {
    const bool concerns = item_ && (change.item == item_ || change.kind == QueueChange::Kind::isHeld);
    if (!concerns || renewal_.isActive()) return;
    renewal_ = around_.loop.schedule(numberPause, [this] { renew(); });
}

// The time that is left to a held item is told every second.
void DownloadDetails::renew() {
    renewal_.reset();
    show(downloadDetails(*item_, around_.clock, DownloadManager::connectionsOf(*item_), around_.manager.holdReason()));
    countdown_.reset();
    if (item_->hold && item_->hold->until)
        countdown_ = around_.loop.schedule(std::chrono::seconds(1), [this] { renew(); });
}

void DownloadDetails::show(Details details) {
    if (details == shown_) return;
    shown_ = std::move(details);
    changes_.tell();
}

}  // namespace tovri
