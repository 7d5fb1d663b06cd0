#pragma once

#include <QString>

namespace tovri {

// The flags for QPainter::drawText of a text that stands where `layout` says but runs as it is written: what it begins
// with decides, or "3 active" would read "active 3" from right to left. Flags that force a direction stay.
[[nodiscard]] int textFlags(const QString& text, int flags, Qt::LayoutDirection layout);

}  // namespace tovri
