#pragma once

#include <string>
#include <string_view>

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {

// What `--help` prints, for a terminal of 80 columns.
[[nodiscard]] std::string programHelp();
[[nodiscard]] std::string groupHelp(const CommandGroup& group);
[[nodiscard]] std::string commandHelp(const CommandDefinition& definition);

// The text with a line break where a line would pass `width` columns; every line begins with `indent` blanks.
[[nodiscard]] std::string wrapped(std::string_view text, std::size_t width, std::size_t indent);

}  // namespace tovri::cli
