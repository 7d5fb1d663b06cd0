#include "cli/commands/ItemSelection.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

namespace tovri::cli {
namespace {

// What is selected among, and the command that shows them.
struct Selection {
    std::string_view noun;
    std::string_view command;
};

constexpr Selection downloads{"download", "queue"};
constexpr Selection automationRules{"rule", "rules list"};

Result<UUID> selectOne(const std::string& text, std::span<const UUID> ids, const Selection& among) {
    std::string prefix;
    for (const char c : text) prefix += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::vector<UUID> found;
    for (const UUID& id : ids)
        if (!prefix.empty() && id.text().starts_with(prefix) && std::ranges::find(found, id) == found.end())
            found.push_back(id);
    if (found.size() == 1) return found.front();
    if (found.empty())
        return failure(Error(ErrorCase::file, fmt::format("no {}'s ID begins with \"{}\"; tovri-cli {} shows them",
                                                          among.noun, text, among.command)));
    return failure(
        Error(ErrorCase::file, fmt::format("\"{}\" is the beginning of {} IDs, among them {} and {}; give more of it",
                                           text, found.size(), found[0].text(), found[1].text())));
}

}  // namespace

Result<std::vector<UUID>> selectItems(const std::vector<std::string>& texts, std::span<const UUID> ids) {
    std::vector<UUID> selected;
    for (const std::string& text : texts) {
        Result<UUID> id = selectOne(text, ids, downloads);
        if (!id) return failure(id);
        if (std::ranges::find(selected, *id) == selected.end()) selected.push_back(*id);
    }
    return selected;
}

Result<UUID> selectRule(const std::string& text, const std::vector<SyncRule>& rules) {
    std::vector<UUID> ids;
    for (const SyncRule& rule : rules) ids.push_back(rule.id);
    return selectOne(text, ids, automationRules);
}

}  // namespace tovri::cli
