#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "service/records/PutIOFile.h"

namespace tovri {

// "120 items", or with some selected "3 of 120 items selected, 1.2 GB"; the size is that of the selected files whose
// size is known.
[[nodiscard]] std::string folderSummary(std::size_t count, const std::vector<const PutIOFile*>& selected);

}  // namespace tovri
