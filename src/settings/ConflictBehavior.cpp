#include "settings/ConflictBehavior.h"

#include <algorithm>

namespace tovri {
namespace {

struct Wording {
    ConflictBehavior behavior;
    std::string_view rawValue;
    std::string_view displayName;
    std::string_view explanation;
};

constexpr std::array<Wording, conflictBehaviors.size()> wordings{{
    {ConflictBehavior::ask, "ask", "Ask every time", "Show a dialog for each conflict."},
    {ConflictBehavior::keepBoth, "keepBoth", "Keep both", "Save alongside as \"Filename (1)\"."},
    {ConflictBehavior::replace, "replace", "Replace", "Overwrite the existing file."},
    {ConflictBehavior::skip, "skip", "Skip", "Discard the download and keep the existing file."},
}};

const Wording& wordingOf(ConflictBehavior behavior) {
    return *std::ranges::find(wordings, behavior, &Wording::behavior);
}

}  // namespace

std::string_view rawValue(ConflictBehavior behavior) {
    return wordingOf(behavior).rawValue;
}

std::optional<ConflictBehavior> conflictBehaviorOf(std::string_view rawValue) {
    const auto* const found = std::ranges::find(wordings, rawValue, &Wording::rawValue);
    return found == wordings.end() ? std::nullopt : std::optional(found->behavior);
}

std::string_view displayName(ConflictBehavior behavior) {
    return wordingOf(behavior).displayName;
}

std::string_view explanation(ConflictBehavior behavior) {
    return wordingOf(behavior).explanation;
}

}  // namespace tovri
