#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace tovri {

// Where a download stands.
enum class DownloadStatus {
    queued,              // waiting for a free slot
    downloading,         // a transfer is being prepared or is running, or its file is being placed
    awaitingConflict,    // received and staged; the name is taken and the user decides
    paused,              // stopped by the user or by the global pause; resumable
    completed,           // placed and, where requested, deleted from put.io
    failed,              // transfer, placement or link look-up failed
    cancelled,           // cancelled by the user
    skipped,             // the name was taken and the existing local file was kept
    deleting,            // placed; the delete request to put.io is in flight
    remoteDeleteFailed,  // placed, but put.io did not confirm the deletion
};

inline constexpr std::size_t downloadStatusCount = 10;

// The case name, which is what the queue file stores.
[[nodiscard]] std::string_view rawValue(DownloadStatus status);
[[nodiscard]] std::optional<DownloadStatus> downloadStatus(std::string_view rawValue);

// Nothing more happens to a finished item by itself.
inline constexpr std::initializer_list<DownloadStatus> finishedStatuses = {
    DownloadStatus::completed, DownloadStatus::failed, DownloadStatus::cancelled, DownloadStatus::skipped,
    DownloadStatus::remoteDeleteFailed};

[[nodiscard]] constexpr bool isFinished(DownloadStatus status) {
    return std::ranges::find(finishedStatuses, status) != finishedStatuses.end();
}

// The concurrency limit counts these. A deletion in flight leaves its slot to the next transfer.
[[nodiscard]] constexpr bool occupiesSlot(DownloadStatus status) {
    return status == DownloadStatus::downloading || status == DownloadStatus::awaitingConflict;
}

}  // namespace tovri
