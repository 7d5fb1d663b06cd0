#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "base/Task.h"
#include "cli/CommandContext.h"
#include "cli/ExitCode.h"

namespace tovri::cli {

// For a command that takes away what does not come back: it is meant with --yes, or when the user says so.

// Why it cannot be asked, told to the user; none when it need not be, or can be.
[[nodiscard]] std::optional<ExitCode> refusalToAsk(const CommandContext& context);

// Asks "QUESTION [y/N]" where that is needed. How the command ends when it is not meant, told to the user; none when it
// is. `context` outlives the task.
[[nodiscard]] Task<std::optional<ExitCode>> refusalOfUser(CommandContext* context, std::string question,
                                                          std::stop_token stop);

}  // namespace tovri::cli
