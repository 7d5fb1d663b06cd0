#pragma once

#include <string>
#include <vector>

#include "cli/running/RunTally.h"

namespace tovri::cli {

// Says of each file that was to be deleted from put.io, and of each folder once, for what it stays there.
[[nodiscard]] std::vector<std::string> stayingLines(const RunTally& tally, const DownloadList& list);

}  // namespace tovri::cli
