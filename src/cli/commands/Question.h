#pragma once

#include <optional>
#include <stop_token>
#include <string>

#include "base/Result.h"
#include "cli/Terminal.h"
#include "platform/Await.h"

namespace tovri::cli {

// Awaits the user's answer to a question, without white space at its ends; none at the input's end. `loop` and
// `terminal` outlive the awaiting coroutine.
[[nodiscard]] Answer<std::optional<std::string>> ask(MainLoop& loop, Terminal& terminal, std::string question,
                                                     Terminal::Echo echo, std::stop_token stop);

// Whether such an answer agrees to a question that ends with "[y/N]".
[[nodiscard]] bool isYes(const Result<std::optional<std::string>>& answer);

}  // namespace tovri::cli
