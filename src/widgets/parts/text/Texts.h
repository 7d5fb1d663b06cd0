#pragma once

#include <QString>
#include <string_view>

#include "screens/Tint.h"

class QLabel;

namespace tovri {

[[nodiscard]] inline QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// For the title of what shows an ampersand as a mnemonic.
[[nodiscard]] inline QString titleOf(std::string_view text) {
    return textOf(text).replace('&', QLatin1StringView("&&"));
}

// The label's text in the role's colour, as of the palette of this moment.
void setTint(QLabel& label, Tint tint);

}  // namespace tovri
