#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// One line of a menu. `Action` is what the screen's perform() takes.
template <class Action>
struct MenuItem {
    std::optional<Action> action = {};  // none: a separator
    std::string title = {};
    std::string_view symbol = {};  // static text, or empty
    bool isEnabled = true;
    bool isDestructive = false;
    std::optional<bool> isChecked = {};  // of a line that turns something on and off

    [[nodiscard]] static MenuItem separator() { return {}; }

    [[nodiscard]] bool isSeparator() const { return !action; }
};

}  // namespace tovri
