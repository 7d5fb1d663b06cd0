#include "screens/Details.h"

#include "base/ByteCountFormat.h"

namespace tovri {

std::string wholeSizeText(ByteCount size) {
    const std::string rounded = formatByteCount(size);
    const std::string exact = formatExactByteCount(size);
    return rounded == exact ? exact : rounded + " (" + exact + ")";
}

Details selectionDetails(const SelectedSizes& selected, std::string_view noun) {
    Details details{.title = std::to_string(selected.count) + " " + std::string(noun) + " selected"};
    details.facts.push_back({"Size together", wholeSizeText(selected.sum)});
    if (selected.unknown > 0) details.facts.push_back({"Of unknown size", std::to_string(selected.unknown)});
    return details;
}

}  // namespace tovri
