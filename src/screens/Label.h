#pragma once

#include <string>
#include <string_view>

#include "screens/Tint.h"

namespace tovri {

// A short text, behind a symbol where it has one.
struct Label {
    std::string_view symbol;  // static text, or empty
    std::string text;
    Tint tint = Tint::secondary;

    bool operator==(const Label&) const = default;
};

}  // namespace tovri
