#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tovri::sandbox {

// The name=value pairs of a query or a form. Of a name that is given twice the last value counts.
using Fields = std::map<std::string, std::string, std::less<>>;

Fields parseFields(std::string_view encoded);

// Everything but RFC 3986's unreserved characters becomes %XX.
std::string percentEncode(std::string_view text);

// Undoes percent-encoding; what is no valid %XX stays as it is.
std::string percentDecode(std::string_view text);

std::optional<std::string_view> valueOf(const Fields& fields, std::string_view name);

}  // namespace tovri::sandbox
