#pragma once

#include <QString>

namespace tovri {

// The text for a label that wraps it: runs of letters that no line may have room for can be broken, and of more than
// `longest` characters those in the middle are left out.
[[nodiscard]] QString breakable(const QString& text, qsizetype longest);

}  // namespace tovri
