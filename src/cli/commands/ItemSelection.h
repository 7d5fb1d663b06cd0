#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/Result.h"
#include "base/UUID.h"

namespace tovri::cli {

// The IDs that the texts name, each a whole ID or the beginning of exactly one; upper and lower case are the same. The
// error says which text names none or several. In the order of the texts, none twice.
[[nodiscard]] Result<std::vector<UUID>> selectItems(const std::vector<std::string>& texts, std::span<const UUID> ids);

}  // namespace tovri::cli
