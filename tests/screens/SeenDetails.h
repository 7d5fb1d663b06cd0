#pragma once

#include <string>

#include "screens/Details.h"

namespace tovri::test {

// "Film.mkv | Status: Queued | Size: 2 MB (2,000,000 bytes) | [Open on put.io]"
[[nodiscard]] inline std::string seenText(const Details& details) {
    std::string text = details.title + details.hint;
    for (const Details::Fact& fact : details.facts) text += " | " + fact.label + ": " + fact.text;
    for (const Details::Link& link : details.links) text += " | [" + link.title + "]";
    return text;
}

}  // namespace tovri::test
