#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tovri {

// One thing in a toolbar. `Action` is what the screen's perform() takes.
template <class Action>
struct ToolbarItem {
    enum class Kind : std::uint8_t {
        button,
        menu,         // one of `choices` holds
        progress,     // turns while it is visible
        searchField,  // `title` is its prompt
    };

    struct Choice {
        Action action;
        std::string title;
        bool isChosen = false;

        bool operator==(const Choice&) const = default;
    };

    Kind kind = Kind::button;
    std::optional<Action> action = {};  // of a button
    std::string title = {};
    std::string_view symbol = {};  // static text, or empty
    std::string help = {};         // tooltip, or empty
    bool isEnabled = true;
    bool isVisible = true;
    bool isCompact = false;  // its title is said by the tooltip alone
    std::vector<Choice> choices = {};

    bool operator==(const ToolbarItem&) const = default;
};

}  // namespace tovri
