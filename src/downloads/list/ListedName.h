#pragma once

#include <string_view>

#include "downloads/list/Download.h"

namespace tovri {

// The name under which an item is listed: that of its file here once it has one, which is numbered where put.io's was
// taken; until then put.io's. Good until the item changes.
[[nodiscard]] inline std::string_view listedName(const DownloadRecord& item) {
    if (!item.resolvedURL) return item.fileName;
    const std::string_view path = *item.resolvedURL;
    return path.substr(path.rfind('/') + 1);
}

}  // namespace tovri
