#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/Identifier.h"

namespace tovri {

// "5,17,3", as the service takes several IDs in one field.
template <class Kind>
[[nodiscard]] std::string joinedIDs(const std::vector<Identifier<Kind>>& ids, std::string_view separator = ",") {
    std::string text;
    for (const Identifier<Kind> id : ids) {
        if (!text.empty()) text += separator;
        text += id.text();
    }
    return text;
}

}  // namespace tovri
