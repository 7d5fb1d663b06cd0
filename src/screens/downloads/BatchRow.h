#pragma once

#include <set>

#include "screens/downloads/Batch.h"
#include "screens/downloads/DownloadRow.h"

namespace tovri {

// How the items of one section look that were queued together: named by the first of them, what they have in sum, and
// the buttons of what they can do together.
[[nodiscard]] DownloadRow batchRow(const Batch& batch, Timestamp now,
                                   const std::optional<std::string>& holdReason = std::nullopt);

// Parts of it that are asked for every row.
[[nodiscard]] std::string batchTitle(const Batch& batch);
[[nodiscard]] bool hasProgressBar(const Batch& batch);

// Which statuses its items have.
[[nodiscard]] std::set<DownloadStatus> statusesOf(const Batch& batch);

}  // namespace tovri
