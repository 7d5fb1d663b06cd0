#include "cli/commands/ItemSelection.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

namespace tovri::cli {
namespace {

Result<UUID> selectItem(const std::string& text, std::span<const UUID> ids) {
    std::string prefix;
    for (const char c : text) prefix += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::vector<UUID> found;
    for (const UUID& id : ids)
        if (!prefix.empty() && id.text().starts_with(prefix)) found.push_back(id);
    if (found.size() == 1) return found.front();
    if (found.empty())
        return failure(Error(ErrorCase::file,
                             fmt::format("no download's ID begins with \"{}\"; tovri-cli queue shows them", text)));
    return failure(
        Error(ErrorCase::file, fmt::format("\"{}\" is the beginning of {} IDs, among them {} and {}; give more of it",
                                           text, found.size(), found[0].text(), found[1].text())));
}

}  // namespace

Result<std::vector<UUID>> selectItems(const std::vector<std::string>& texts, std::span<const UUID> ids) {
    std::vector<UUID> selected;
    for (const std::string& text : texts) {
        Result<UUID> id = selectItem(text, ids);
        if (!id) return failure(id);
        if (std::ranges::find(selected, *id) == selected.end()) selected.push_back(*id);
    }
    return selected;
}

}  // namespace tovri::cli
