#include "downloads/list/DownloadStatus.h"

#include <algorithm>
#include <array>

namespace tovri {
namespace {

// In the order of the cases.
constexpr std::array<std::string_view, downloadStatusCount> rawValues = {
    "queued", "downloading", "awaitingConflict", "paused",   "completed",
    "failed", "cancelled",   "skipped",          "deleting", "remoteDeleteFailed"};

}  // namespace

std::string_view rawValue(DownloadStatus status) {
    return rawValues[static_cast<std::size_t>(status)];
}

std::optional<DownloadStatus> downloadStatus(std::string_view rawValue) {
    const auto found = std::ranges::find(rawValues, rawValue);
    if (found == rawValues.end()) return std::nullopt;
    return static_cast<DownloadStatus>(found - rawValues.begin());
}

}  // namespace tovri
