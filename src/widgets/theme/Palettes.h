#pragma once

#include <QPalette>

namespace tovri {

// For desktops that hand Qt none of their own.
[[nodiscard]] QPalette lightPalette();
[[nodiscard]] QPalette darkPalette();

}  // namespace tovri
