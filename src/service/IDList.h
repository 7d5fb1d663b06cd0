#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tovri {

// "5,17,3", as the service takes several IDs in one field.
[[nodiscard]] inline std::string joinedIDs(const std::vector<std::int64_t>& ids) {
    std::string text;
    for (const std::int64_t id : ids) {
        if (!text.empty()) text += ',';
        text += std::to_string(id);
    }
    return text;
}

}  // namespace tovri
