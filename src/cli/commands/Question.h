#pragma once

#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "cli/Terminal.h"
#include "platform/Await.h"

namespace tovri::cli {

// Awaits the user's answer to a question, without blanks at its ends; none at the input's end. `loop` and `terminal`
// outlive the awaiting coroutine.
[[nodiscard]] Answer<std::optional<std::string>> ask(MainLoop& loop, Terminal& terminal, std::string question,
                                                     Terminal::Echo echo, std::stop_token stop);

// Whether such an answer agrees to a question that ends with "[y/N]".
[[nodiscard]] bool isYes(const Result<std::optional<std::string>>& answer);

// The text without the blanks at its ends.
[[nodiscard]] std::string trimmed(std::string_view text);

}  // namespace tovri::cli
