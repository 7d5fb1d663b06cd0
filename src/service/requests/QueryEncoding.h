#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tovri {

using QueryItem = std::pair<std::string_view, std::string_view>;  // name and value

// "name=value&name=value". The characters of an RFC 3986 query stay, all other bytes are percent-encoded, "&" and "="
// inside a name or a value as well.
[[nodiscard]] std::string percentEncodedQuery(const std::vector<QueryItem>& items);

// The same for a form's body: a "+" is encoded too, since a form decoder would read it as a blank.
[[nodiscard]] std::string formEncoded(const std::vector<QueryItem>& items);

}  // namespace tovri
