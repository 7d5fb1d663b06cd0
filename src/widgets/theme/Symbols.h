#pragma once

#include <QIcon>
#include <string_view>
#include <vector>

#include "screens/Tint.h"

class QPainter;
class QPalette;
class QRect;

namespace tovri {

// The icon of a symbol's name ("arrow.down.circle"). It takes its colour from the application's palette whenever it is
// drawn, so that it follows a change from light to dark, and is sharp at any scale. A null icon for an unknown name.
[[nodiscard]] QIcon symbolIcon(std::string_view name, Tint tint = Tint::primary);

// Draws it in the middle of `rect`, `size` wide and high; nothing for an unknown name.
void paintSymbol(QPainter& painter, const QRect& rect, int size, std::string_view name, const QColor& color);

[[nodiscard]] bool isSymbol(std::string_view name);
[[nodiscard]] std::vector<std::string_view> symbolNames();

// A picture of its own design, in its own colours.
[[nodiscard]] QIcon applicationIcon();

}  // namespace tovri
