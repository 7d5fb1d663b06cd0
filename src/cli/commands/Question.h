#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "cli/Terminal.h"
#include "platform/Await.h"

namespace tovri::cli {

// Awaits the user's answer to a question, without blanks at its ends; none at the input's end. `loop` and `terminal`
// outlive the awaiting coroutine.
[[nodiscard]] Answer<std::optional<std::string>> ask(MainLoop& loop, Terminal& terminal, std::string question,
                                                     Terminal::Echo echo, std::stop_token stop);

}  // namespace tovri::cli
