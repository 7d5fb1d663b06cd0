#include "cli/display/LabelText.h"

#include <algorithm>
#include <string_view>

namespace tovri::cli {
namespace {

struct Wording {
    std::string_view symbol;
    std::string_view before;
    std::string_view behind;
};

constexpr Wording wordings[] = {
    {"magnifyingglass", "Keyword: ", ""},
    {"arrow.down", "", " down"},
    {"arrow.up", "", " up"},
};

}  // namespace

std::string joined(const std::vector<Label>& labels) {
    std::string line;
    for (const Label& label : labels) {
        const auto* const found = std::ranges::find(wordings, label.symbol, &Wording::symbol);
        const Wording wording = found == std::end(wordings) ? Wording{} : *found;
        if (!line.empty()) line += " · ";
        line.append(wording.before).append(label.text).append(wording.behind);
    }
    return line;
}

}  // namespace tovri::cli
