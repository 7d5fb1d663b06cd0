#include "cli/display/QueueListing.h"

#include <fmt/format.h>

#include "base/ByteCountFormat.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/ShortID.h"
#include "cli/display/TimeText.h"
#include "downloads/list/ListedName.h"
#include "downloads/running/ArrivalProof.h"
#include "screens/RelativeTime.h"

namespace tovri::cli {
namespace {

using enum DownloadStatus;

struct Section {
    std::string_view title;
    std::vector<const DownloadRecord*> items;
};

bool isActive(DownloadStatus status) {
    return status == downloading || status == awaitingConflict || status == deleting;
}

std::string sizesText(const DownloadRecord& item) {
    return formatByteCount(item.bytesDownloaded) + " / " + formatByteCount(item.expectedSize());
}

std::string_view proofText(ArrivalProof proof) {
    switch (proof) {
        case ArrivalProof::checksum:
            return "proven by checksum";
        case ArrivalProof::size:
            return "proven by size";
        case ArrivalProof::none:
            break;
    }
    return "not proven";
}

std::string arrivedText(const DownloadRecord& item, Timestamp now) {
    constexpr std::string_view dot = " \xC2\xB7 ";
    std::string text = formatByteCount(item.bytesDownloaded);
    if (item.completedAt)
        text.append(dot) += relativeTimeText(timeSince(*item.completedAt, now), UnitNames::whole) + " ago";
    text.append(dot) += item.error ? printable(*item.error) : proofText(arrivalProof(item).value());
    return text;
}

std::string statusText(const DownloadRecord& item, Timestamp now) {
    switch (item.status) {
        case queued:
            if (item.hold) return printable(item.hold->text);
            return item.expectedSize() > 0 ? "Queued \xC2\xB7 " + formatByteCount(item.expectedSize()) : "Queued";
        case downloading:
            return sizesText(item) + " \xC2\xB7 " + percentText(item.progress);
        case awaitingConflict:
            return "Waiting \xE2\x80\x94 file already exists";
        case paused:
            return sizesText(item) + " \xC2\xB7 Paused " + percentText(item.progress);
        case completed:
            return arrivedText(item, now);
        case failed:
            return printable(item.error.value_or("Download failed"));
        case cancelled:
            return "Cancelled";
        case skipped:
            return "Skipped";
        case deleting:
            return "Removing from put.io...";
        case remoteDeleteFailed:
            return "Downloaded \xE2\x80\x94 couldn't delete from put.io" +
                   (item.error ? ": " + printable(*item.error) : "");
    }
    return {};
}

void addOptional(JSON& json, std::string_view key, const std::optional<std::string>& value) {
    if (value) json.field(key, *value);
}

void addTime(JSON& json, std::string_view key, const std::optional<Timestamp>& time) {
    if (time) json.field(key, timeText(*time));
}

void addFailedTries(JSON& json, const FailedTries& tries) {
    json.key("failedTries").beginArray();
    for (const FailedTry& one : tries)
        json.beginObject().field("at", timeText(one.at)).field("what", one.what).endObject();
    json.endArray();
}

void addItem(JSON& json, const DownloadRecord& item) {
    json.beginObject().field("id", item.id.text()).field("fileID", item.fileID).field("name", listedName(item));
    json.field("size", item.fileSize).field("bytes", item.bytesDownloaded).field("status", rawValue(item.status));
    json.field("destination", item.destinationFolder->native());
    addOptional(json, "path", item.resolvedURL);
    if (const auto proof = arrivalProof(item)) json.field("proof", rawValue(*proof));
    if (item.hold) json.field("waiting", item.hold->text);
    addOptional(json, "error", item.error);
    addTime(json, "queuedAt", item.queuedAt);
    addTime(json, "startedAt", item.startedAt);
    addTime(json, "completedAt", item.completedAt);
    if (item.failedTries) addFailedTries(json, *item.failedTries);
    json.endObject();
}

}  // namespace

std::vector<std::string> listQueue(const QueueSnapshot& queue, Timestamp now) {
    Section sections[] = {{"Active", {}}, {"Paused", {}}, {"Queued", {}}, {"Finished", {}}};
    for (const DownloadRecord& item : queue.downloads) {
        const int section = isActive(item.status) ? 0 : item.status == paused ? 1 : item.status == queued ? 2 : 3;
        sections[section].items.push_back(&item);
    }
    std::vector<std::string> lines;
    if (queue.isPaused) lines.emplace_back("The queue is paused; tovri-cli resume lets it go on.");
    if (queue.downloads.empty()) lines.emplace_back("No Downloads");
    for (const Section& section : sections) {
        if (section.items.empty()) continue;
        if (!lines.empty()) lines.emplace_back();
        lines.push_back(section.title == "Queued" ? fmt::format("Queued \xE2\x80\x94 {} waiting", section.items.size())
                                                  : std::string(section.title));
        for (const DownloadRecord* item : section.items)
            lines.push_back(fmt::format("  {}  {}  {}", shortID(item->id, queue.downloads.size()),
                                        printable(listedName(*item)), statusText(*item, now)));
    }
    return lines;
}

std::string queueJSON(const QueueSnapshot& queue) {
    JSON json;
    json.beginObject().flag("isPaused", queue.isPaused).key("downloads").beginArray();
    for (const DownloadRecord& item : queue.downloads) addItem(json, item);
    return json.endArray().endObject().line();
}

}  // namespace tovri::cli
