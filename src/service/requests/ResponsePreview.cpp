#include "service/requests/ResponsePreview.h"

#include "service/requests/UTF8.h"

namespace tovri {

std::optional<std::string> responsePreview(std::string_view body, std::string_view token) {
    constexpr std::size_t limit = 2000;
    const std::string_view shown = body.substr(0, limit);
    if (!isUTF8(shown)) return std::nullopt;

    std::string preview;
    std::size_t at = 0;
    while (at < shown.size()) {
        const std::size_t found = token.empty() ? std::string_view::npos : body.find(token, at);
        if (found >= shown.size()) break;
        preview.append(shown.substr(at, found - at)).append("[token]");
        at = found + token.size();
    }
    if (at < shown.size()) preview += shown.substr(at);
    return preview;
}

}  // namespace tovri
