#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Bytes.h"
#include "base/Identifier.h"
#include "service/records/FileID.h"
#include "service/records/JSONField.h"

namespace tovri {

using TransferID = Identifier<struct TransferKind>;

// What the service itself fetches into the account: a torrent, a magnet link or a URL. Not a download of ours.
struct Transfer {
    TransferID id;
    std::optional<std::string> name;
    std::optional<ByteCount> size;
    std::optional<std::string> status;
    std::optional<std::string> statusMessage;
    std::optional<std::string> errorMessage;
    std::optional<std::string> type;
    std::optional<std::string> source;
    std::optional<std::int64_t> percentDone;  // 0 to 100
    std::optional<ByteCount> downloaded;
    std::optional<ByteCount> uploaded;
    std::optional<BytesPerSecond> downSpeed;
    std::optional<BytesPerSecond> upSpeed;
    std::optional<std::int64_t> estimatedTime;  // seconds
    std::optional<std::int64_t> peersConnected;
    std::optional<std::int64_t> peersSendingToUs;
    std::optional<std::int64_t> peersGettingFromUs;
    std::optional<std::int64_t> availability;
    std::optional<FileID> fileID;
    std::optional<FolderID> saveParentID;
    std::optional<bool> extract;
    std::optional<double> currentRatio;
    std::optional<std::string> createdAt;
    std::optional<std::string> finishedAt;

    bool operator==(const Transfer&) const = default;

    // Whether the service is fetching it or about to.
    [[nodiscard]] bool isActive() const;

    static constexpr auto jsonFields() {
        return jsonFieldList(
            JSONField{"id", &Transfer::id}, JSONField{"name", &Transfer::name}, JSONField{"size", &Transfer::size},
            JSONField{"status", &Transfer::status}, JSONField{"status_message", &Transfer::statusMessage},
            JSONField{"error_message", &Transfer::errorMessage}, JSONField{"type", &Transfer::type},
            JSONField{"source", &Transfer::source}, JSONField{"percent_done", &Transfer::percentDone},
            JSONField{"downloaded", &Transfer::downloaded}, JSONField{"uploaded", &Transfer::uploaded},
            JSONField{"down_speed", &Transfer::downSpeed}, JSONField{"up_speed", &Transfer::upSpeed},
            JSONField{"estimated_time", &Transfer::estimatedTime},
            JSONField{"peers_connected", &Transfer::peersConnected},
            JSONField{"peers_sending_to_us", &Transfer::peersSendingToUs},
            JSONField{"peers_getting_from_us", &Transfer::peersGettingFromUs},
            JSONField{"availability", &Transfer::availability}, JSONField{"file_id", &Transfer::fileID},
            JSONField{"save_parent_id", &Transfer::saveParentID}, JSONField{"extract", &Transfer::extract},
            JSONField{"current_ratio", &Transfer::currentRatio}, JSONField{"created_at", &Transfer::createdAt},
            JSONField{"finished_at", &Transfer::finishedAt});
    }
};

struct TransferListResponse {
    std::vector<Transfer> transfers;
    std::string status;

    bool operator==(const TransferListResponse&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"transfers", &TransferListResponse::transfers},
                             JSONField{"status", &TransferListResponse::status});
    }
};

struct TransferAddResponse {
    Transfer transfer;
    std::string status;

    bool operator==(const TransferAddResponse&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"transfer", &TransferAddResponse::transfer},
                             JSONField{"status", &TransferAddResponse::status});
    }
};

// What an upload answers with when the file was a torrent. A status has been seen to be missing here.
struct TransferStarted {
    Transfer transfer;

    bool operator==(const TransferStarted&) const = default;

    static constexpr auto jsonFields() { return jsonFieldList(JSONField{"transfer", &TransferStarted::transfer}); }
};

}  // namespace tovri
