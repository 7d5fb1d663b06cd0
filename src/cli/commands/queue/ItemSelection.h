#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "automation/SyncRule.h"
#include "base/Result.h"
#include "base/UUID.h"

namespace tovri::cli {

// The downloads that the texts name, each by its whole ID or the beginning of exactly one; upper and lower case are the
// same. The error says which text names none or several. In the order of the texts, none twice.
[[nodiscard]] Result<std::vector<UUID>> selectItems(const std::vector<std::string>& texts, std::span<const UUID> ids);

// The one rule that the text names in the same way.
[[nodiscard]] Result<UUID> selectRule(const std::string& text, const std::vector<SyncRule>& rules);

}  // namespace tovri::cli
