#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "automation/SyncRule.h"

namespace tovri::cli {

// The rules as lines of text: what each watches, where its files go, how often it looks, and when it did. With a width
// they fit a terminal that wide; `home` is written as "~".
[[nodiscard]] std::vector<std::string> ruleLines(const std::vector<SyncRule>& rules, Timestamp now,
                                                 const std::filesystem::path& home, std::optional<std::size_t> width);

// The same as one JSON document on one line.
[[nodiscard]] std::string rulesJSON(const std::vector<SyncRule>& rules);

}  // namespace tovri::cli
