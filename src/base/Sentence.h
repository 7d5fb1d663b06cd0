#pragma once

#include <string>
#include <string_view>

namespace tovri {

// The text with a full stop at its end, unless it ends like a sentence already.
[[nodiscard]] inline std::string asSentence(std::string_view text) {
    std::string sentence(text);
    if (sentence.empty() || std::string_view(".!?").find(sentence.back()) == std::string_view::npos) sentence += '.';
    return sentence;
}

}  // namespace tovri
