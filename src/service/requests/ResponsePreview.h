#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// The first 2000 bytes of an answer, for a diagnostic line; none when they are not UTF-8. Wherever the bearer token
// occurs, "[token]" stands in its place, also where the cut falls into it.
[[nodiscard]] std::optional<std::string> responsePreview(std::string_view body, std::string_view token);

}  // namespace tovri
