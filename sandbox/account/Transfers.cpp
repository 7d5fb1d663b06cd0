#include "sandbox/account/Transfers.h"

#include <algorithm>
#include <utility>

#include "sandbox/Random.h"
#include "sandbox/api/Fields.h"

namespace tovri::sandbox {
namespace {

constexpr double secondsInQueue = 2;
constexpr double secondsCompleting = 3;
constexpr double secondsSeeding = 20;
constexpr double bytesPerSecond = 12e6;
constexpr double uploadShare = 0.2;  // of the download's speed

double secondsDownloading(const Transfer& transfer) {
    return std::clamp(static_cast<double>(transfer.size) / bytesPerSecond, 2.0, 60.0);
}

// The display name of a magnet link, or the last part of an address.
std::string nameOfSource(const std::string& source) {
    if (source.starts_with("magnet:")) {
        const Fields fields = parseFields(std::string_view(source).substr(source.find('?') + 1));
        return std::string(valueOf(fields, "dn").value_or("Unnamed transfer"));
    }
    const std::string address = source.substr(0, source.find_first_of("?#"));
    const std::string name = percentDecode(address.substr(address.find_last_of("/:") + 1));
    return name.empty() ? "Unnamed transfer" : name;
}

std::int64_t sizeOfSource(const std::string& source) {
    std::uint64_t hash = source.size();
    for (const char c : source) hash = mix(hash ^ static_cast<unsigned char>(c));
    return static_cast<std::int64_t>((8 << 20) + hash % (120 << 20));
}

bool isTorrent(const Transfer& transfer) {
    return !transfer.source.starts_with("http");
}

}  // namespace

Transfer Transfers::add(NewTransfer wanted) {
    const std::scoped_lock lock(mutex_);
    Transfer transfer;
    transfer.id = ++lastID_;
    transfer.name = wanted.name.empty() ? nameOfSource(wanted.source) : std::move(wanted.name);
    transfer.size = wanted.size > 0 ? wanted.size : sizeOfSource(wanted.source);
    transfer.source = std::move(wanted.source);
    transfer.saveParentID = wanted.saveParentID;
    transfer.extract = wanted.extract;
    transfer.errorMessage = std::move(wanted.errorMessage);
    transfer.fileID = wanted.fileID;
    transfer.frozen = std::move(wanted.frozen);
    transfer.createdAt = unixTimeNow();
    transfer.startedAt = clock_();
    transfers_.push_back(transfer);
    return transfer;
}

std::vector<Transfer> Transfers::list() const {
    const std::scoped_lock lock(mutex_);
    return transfers_;
}

bool Transfers::cancel(std::int64_t id) {
    const std::scoped_lock lock(mutex_);
    return std::erase_if(transfers_, [id](const Transfer& transfer) { return transfer.id == id; }) > 0;
}

std::optional<Transfer> Transfers::retry(std::int64_t id) {
    const std::scoped_lock lock(mutex_);
    const auto found = std::ranges::find(transfers_, id, &Transfer::id);
    if (found == transfers_.end()) return std::nullopt;
    found->frozen.reset();
    found->errorMessage.clear();
    found->startedAt = clock_();
    return *found;
}

void Transfers::clean() {
    const std::scoped_lock lock(mutex_);
    std::erase_if(transfers_, [this](const Transfer& transfer) { return progress(transfer).status == "COMPLETED"; });
}

void Transfers::advance() {
    const std::scoped_lock lock(mutex_);
    for (Transfer& transfer : transfers_) {
        const std::string status = progress(transfer).status;
        if (transfer.frozen || transfer.fileID || (status != "SEEDING" && status != "COMPLETED")) continue;
        const auto size = static_cast<std::uint64_t>(transfer.size);
        transfer.fileID = account_.addFile(transfer.saveParentID, {.name = transfer.name, .size = size});
        transfer.finishedAt = unixTimeNow();
    }
}

TransferProgress Transfers::progress(const Transfer& transfer) const {
    if (transfer.frozen) return *transfer.frozen;
    if (!transfer.errorMessage.empty()) return {.status = "ERROR"};
    double elapsed = clock_() - transfer.startedAt - secondsInQueue;
    if (elapsed < 0) return {.status = "IN_QUEUE"};

    const double downloading = secondsDownloading(transfer);
    const auto speed = static_cast<std::int64_t>(static_cast<double>(transfer.size) / downloading);
    if (elapsed < downloading) {
        const auto downloaded = static_cast<std::int64_t>(static_cast<double>(transfer.size) * elapsed / downloading);
        return {.status = "DOWNLOADING",
                .downloaded = downloaded,
                .downSpeed = speed,
                .secondsLeft = static_cast<std::int64_t>(downloading - elapsed) + 1};
    }
    elapsed -= downloading;
    TransferProgress done{.status = "COMPLETING", .downloaded = transfer.size};
    if (elapsed < secondsCompleting) return done;
    elapsed = isTorrent(transfer) ? elapsed - secondsCompleting : secondsSeeding;
    const double upSpeed = static_cast<double>(speed) * uploadShare;
    done.uploaded = isTorrent(transfer) ? static_cast<std::int64_t>(upSpeed * std::min(elapsed, secondsSeeding)) : 0;
    const bool isSeeding = elapsed < secondsSeeding;
    done.status = isSeeding ? "SEEDING" : "COMPLETED";
    done.upSpeed = isSeeding ? static_cast<std::int64_t>(upSpeed) : 0;
    return done;
}

void Transfers::write(JsonWriter& json, const Transfer& transfer) const {
    const TransferProgress at = progress(transfer);
    const double size = static_cast<double>(std::max<std::int64_t>(transfer.size, 1));
    const bool hasPeers = at.downSpeed + at.upSpeed > 0 && isTorrent(transfer);
    json.beginObject()
        .field("id", transfer.id)
        .field("name", transfer.name)
        .field("size", transfer.size)
        .field("status", at.status)
        .field("status_message", at.status == "ERROR" ? "Error" : at.status)
        .field("type", isTorrent(transfer) ? "TORRENT" : "URL")
        .field("source", transfer.source)
        .field("percent_done", static_cast<int>(100 * static_cast<double>(at.downloaded) / size))
        .field("downloaded", at.downloaded)
        .field("uploaded", at.uploaded)
        .field("down_speed", at.downSpeed)
        .field("up_speed", at.upSpeed)
        .field("peers_connected", hasPeers ? 14 : 0)
        .field("peers_sending_to_us", at.downSpeed > 0 && hasPeers ? 9 : 0)
        .field("peers_getting_from_us", at.upSpeed > 0 ? 3 : 0)
        .field("availability", hasPeers ? 100 : 0)
        .field("save_parent_id", transfer.saveParentID)
        .field("extract", transfer.extract)
        .field("current_ratio", static_cast<double>(at.uploaded) / size)
        .field("created_at", serviceTime(transfer.createdAt))
        .field("file_id", transfer.fileID);
    json.key("error_message")
        .value(transfer.errorMessage.empty() ? std::nullopt : std::optional(transfer.errorMessage));
    json.key("estimated_time").value(at.secondsLeft > 0 ? std::optional(at.secondsLeft) : std::nullopt);
    json.key("finished_at")
        .value(transfer.finishedAt ? std::optional(serviceTime(*transfer.finishedAt)) : std::nullopt);
    json.endObject();
}

}  // namespace tovri::sandbox
