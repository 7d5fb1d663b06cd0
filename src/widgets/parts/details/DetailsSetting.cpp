#include "widgets/parts/details/DetailsSetting.h"

#include <algorithm>
#include <utility>

namespace tovri {

void DetailsSetting::setShown(bool isShown) {
    if (std::exchange(isShown_, isShown) != isShown) emit changed();
}

void DetailsSetting::setWidth(int width) {
    const int sensible = std::clamp(width, leastWidth, mostWidth);
    if (std::exchange(width_, sensible) != sensible) emit changed();
}

}  // namespace tovri
