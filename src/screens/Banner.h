#pragma once

#include <string>
#include <string_view>

#include "screens/Tint.h"

namespace tovri {

// A strip under the toolbar that says what went wrong until its button is pressed.
struct Banner {
    std::string_view symbol;  // static text
    Tint tint = Tint::attention;
    std::string text;
    std::string button;
};

}  // namespace tovri
