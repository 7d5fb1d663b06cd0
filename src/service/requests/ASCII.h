#pragma once

#include <string>
#include <string_view>

namespace tovri {

// Words of protocols change case by ASCII alone, whatever the user's language.

[[nodiscard]] inline std::string asciiUppercased(std::string_view text) {
    std::string upper(text);
    for (char& c : upper)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    return upper;
}

[[nodiscard]] inline std::string asciiLowercased(std::string_view text) {
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

}  // namespace tovri
