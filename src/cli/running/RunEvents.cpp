#include <fmt/format.h>

#include "base/ByteCountFormat.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/TimeText.h"
#include "cli/running/RunReporter.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri::cli {
namespace {

using Status = Download::Status;

// What a change of status means to the user.
enum class Event { none, queued, waiting, started, arrived, skipped, failed, deleted, deletionFailed };

Event eventOf(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::inserted && change.item) return Event::queued;
    if (change.kind == QueueChange::Kind::hold && change.item && change.item->hold) return Event::waiting;
    if (change.kind == QueueChange::Kind::begun) return Event::started;
    if (change.kind != QueueChange::Kind::status) return Event::none;
    const bool wasDeleting = change.previous == Status::deleting;
    switch (change.item->status) {
        case Status::queued:
            return change.item->hold ? Event::waiting : Event::none;
        case Status::completed:
            return wasDeleting ? Event::deleted : Event::arrived;
        case Status::skipped:
            return Event::skipped;
        case Status::failed:
            return Event::failed;
        case Status::remoteDeleteFailed:
            return Event::deletionFailed;
        default:
            return Event::none;
    }
}

std::string_view nameOf(Event event) {
    switch (event) {
        case Event::queued:
            return "queued";
        case Event::waiting:
            return "waiting";
        case Event::started:
            return "started";
        case Event::arrived:
            return "arrived";
        case Event::skipped:
            return "skipped";
        case Event::failed:
            return "failed";
        case Event::deleted:
            return "deleted";
        case Event::deletionFailed:
            return "deletionFailed";
        case Event::none:
            break;
    }
    return "";
}

JSON& addItem(JSON& json, const Download& item, Timestamp now) {
    json.field("id", item.id.text()).field("fileID", item.fileID).field("name", item.fileName);
    json.field("size", item.fileSize).field("bytes", item.bytesDownloaded);
    if (item.syncRuleID) json.field("rule", item.syncRuleID->text());
    return json.field("time", timeText(now));
}

}  // namespace

std::string pathText(const Download& item) {
    const std::string path =
        item.resolvedURL ? *item.resolvedURL : item.destinationFolder->native() + "/" + item.fileName;
    return printable(path);
}

std::string eventLine(const QueueChange& change, Timestamp now) {
    if (eventOf(change) == Event::none) return {};
    const Download& item = *change.item;
    const std::string size = formatByteCount(item.expectedSize());
    switch (eventOf(change)) {
        case Event::started:
            if (item.bytesDownloaded > 0)
                return fmt::format("Resumed: {} at {} of {}", printable(item.fileName),
                                   formatByteCount(item.bytesDownloaded), size);
            return fmt::format("Started: {} ({})", printable(item.fileName), size);
        case Event::waiting:
            return fmt::format("{}: {}", printable(item.hold->textAt(now)), printable(item.fileName));
        case Event::arrived:
            return fmt::format("Arrived: {} ({})", pathText(item), formatByteCount(item.bytesDownloaded));
        case Event::skipped:
            return fmt::format("Skipped: {} (a file with this name is there)", pathText(item));
        case Event::deleted:
            return fmt::format("Deleted from put.io: {}", printable(item.fileName));
        default:
            return {};
    }
}

std::string eventJSON(const QueueChange& change, Timestamp now) {
    const Event event = eventOf(change);
    if (event == Event::none) return {};
    const Download& item = *change.item;
    JSON json;
    addItem(json.beginObject().field("event", nameOf(event)), item, now);
    if (event == Event::queued) json.field("destination", item.destinationFolder->native());
    if (event == Event::arrived && item.resolvedURL) json.field("path", *item.resolvedURL);
    if (const auto proof = arrivalProof(item)) json.field("proof", rawValue(*proof));
    if (event == Event::waiting) json.field("reason", item.hold->text);
    if (item.error) json.field("error", *item.error);
    return json.endObject().line();
}

std::string progressJSON(const Download& item, Timestamp now) {
    JSON json;
    addItem(json.beginObject().field("event", "progress"), item, now).field("speed", item.speed.count);
    return json.endObject().line();
}

std::string summaryLine(const RunTally& tally) {
    std::string text;
    const auto add = [&text](std::size_t count, std::string_view what) {
        if (count > 0) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, what);
    };
    add(tally.arrived, "arrived");
    add(tally.skipped, "skipped");
    add(tally.failed, "failed");
    add(tally.doubtful(), "not as put.io has it");
    add(tally.undeleted(), "not deleted from put.io");
    add(tally.waiting(), "waiting");
    return text;
}

std::string summaryJSON(const RunTally& tally, Timestamp now) {
    const auto number = [](std::size_t count) { return static_cast<std::int64_t>(count); };
    JSON json;
    json.beginObject().field("event", "summary").field("arrived", number(tally.arrived));
    json.field("skipped", number(tally.skipped)).field("failed", number(tally.failed));
    json.field("notDeleted", number(tally.undeleted()));
    if (tally.doubtful() > 0) json.field("doubtful", number(tally.doubtful()));
    if (tally.waiting() > 0) json.field("waiting", number(tally.waiting()));
    return json.field("time", timeText(now)).endObject().line();
}

}  // namespace tovri::cli
