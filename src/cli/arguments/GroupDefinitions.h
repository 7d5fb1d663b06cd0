#pragma once

#include <vector>

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {

// The commands of all groups, each group's together.
[[nodiscard]] std::vector<CommandDefinition> groupedDefinitions();

}  // namespace tovri::cli
