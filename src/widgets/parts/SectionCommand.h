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
};

}  // namespace tovri
