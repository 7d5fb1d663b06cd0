#pragma once

#include <QSize>

class QPainter;
class QStyleOption;
class QStyleOptionMenuItem;

namespace tovri {

// How menus and the lists of combo boxes look. A column for icons and check marks is there only where the menu has any.

void paintMenuPanel(const QStyleOption& option, QPainter& painter);
void paintMenuItem(const QStyleOptionMenuItem& item, QPainter& painter);

// What has no item in a menu bar.
void paintMenuBar(const QStyleOption& option, QPainter& painter);
void paintMenuBarItem(const QStyleOptionMenuItem& item, QPainter& painter);

// `size` is that of the text.
[[nodiscard]] QSize menuItemSize(const QStyleOptionMenuItem& item, const QSize& size);
[[nodiscard]] QSize menuBarItemSize(const QSize& size);

}  // namespace tovri
