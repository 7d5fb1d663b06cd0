#pragma once

#include <string_view>
#include <vector>

#include "platform/TextCollation.h"
#include "service/PutIOFile.h"

namespace tovri {

enum class SortOrder { name, size, date };

// Of `files` those whose name contains `searchText`, folders before everything else, each group in the order asked for:
// names upwards, sizes and dates downwards. Files that compare equal keep their order. The pointers lead into `files`.
[[nodiscard]] std::vector<const PutIOFile*> displayedFiles(const std::vector<PutIOFile>& files,
                                                           std::string_view searchText, SortOrder order,
                                                           const TextCollation& collation);

}  // namespace tovri
