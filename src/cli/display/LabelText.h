#pragma once

#include <string>
#include <vector>

#include "screens/Label.h"

namespace tovri::cli {

// The labels in one line. A terminal has no symbols: where one says what the text does not, a word stands for it.
[[nodiscard]] std::string joined(const std::vector<Label>& labels);

}  // namespace tovri::cli
