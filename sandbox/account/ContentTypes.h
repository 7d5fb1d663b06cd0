#pragma once

#include <string_view>

namespace tovri::sandbox {

// The MIME type for a file name, by its extension; application/octet-stream when that says nothing.
std::string_view contentTypeForName(std::string_view name);

// The service's word for a kind of file: "VIDEO", "TEXT", "FILE" and so on.
std::string_view fileTypeForContentType(std::string_view contentType);

}  // namespace tovri::sandbox
