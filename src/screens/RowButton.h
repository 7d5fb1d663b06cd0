#pragma once

#include <string>
#include <string_view>

namespace tovri {

// A button inside a row. `Action` is what the screen's perform() takes.
template <class Action>
struct RowButton {
    Action action;
    std::string_view symbol;  // static text
    std::string help;         // tooltip and accessible name
};

}  // namespace tovri
