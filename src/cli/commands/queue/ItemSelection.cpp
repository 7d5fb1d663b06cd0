#include "cli/commands/queue/ItemSelection.h"

#include <algorithm>
#include <cctype>
#include <unordered_set>

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

std::vector<UUID> sorted(std::span<const UUID> ids) {
    std::vector<UUID> all(ids.begin(), ids.end());
    std::ranges::sort(all);
    const auto repeated = std::ranges::unique(all);
    all.erase(repeated.begin(), repeated.end());
    return all;
}

// `ids` in ascending order, which is that of their texts.
Result<UUID> selectOne(const std::string& text, std::span<const UUID> ids, const Selection& among) {
    std::string prefix;
    for (const char c : text) prefix += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const auto beginning = [&](const UUID& id) { return id.text().substr(0, prefix.size()); };
    const auto found = std::ranges::equal_range(prefix.empty() ? ids.first(0) : ids, prefix, {}, beginning);
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
    const std::vector<UUID> all = sorted(ids);
    std::vector<UUID> selected;
    std::unordered_set<UUID> seen;
    for (const std::string& text : texts) {
        Result<UUID> id = selectOne(text, all, downloads);
        if (!id) return failure(id);
        if (seen.insert(*id).second) selected.push_back(*id);
    }
    return selected;
}

Result<UUID> selectRule(const std::string& text, const std::vector<SyncRule>& rules) {
    std::vector<UUID> ids;
    for (const SyncRule& rule : rules) ids.push_back(rule.id);
    return selectOne(text, sorted(ids), automationRules);
}

}  // namespace tovri::cli
