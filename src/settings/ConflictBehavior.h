#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tovri {

// What to do when the name of a downloaded file is already taken.
enum class ConflictBehavior { ask, keepBoth, replace, skip };

// In the order in which they are listed to the user.
inline constexpr std::array conflictBehaviors{ConflictBehavior::ask, ConflictBehavior::keepBoth,
                                              ConflictBehavior::replace, ConflictBehavior::skip};

// The word under which it is stored: "keepBoth".
[[nodiscard]] std::string_view rawValue(ConflictBehavior behavior);

// None unless the word is exactly a raw value.
[[nodiscard]] std::optional<ConflictBehavior> conflictBehaviorOf(std::string_view rawValue);

// "Keep both".
[[nodiscard]] std::string_view displayName(ConflictBehavior behavior);

// One sentence on what will happen.
[[nodiscard]] std::string_view explanation(ConflictBehavior behavior);

}  // namespace tovri
