#pragma once

#include <cstdint>

namespace tovri {

// What the window's menus ask of the section that is on view.
enum class SectionCommand : std::uint8_t {
    refresh,
    find,
    moveTo,
    goUp,
    goBack,
    goForward,
    showBatches,
    orderAsQueue,
    orderByTime,
    orderByName,
    orderBySize,
    orderByState,
    details,  // the window's own: whether they are beside the list
};

}  // namespace tovri
