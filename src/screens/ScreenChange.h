#pragma once

#include <cstddef>

namespace tovri {

// What changed on a screen. Told after the change; the rows are then as told so far.
struct ScreenChange {
    enum class Kind {
        reset,     // all rows are to be read again
        inserted,  // `count` rows from `first` on are new
        removed,   // `count` rows from `first` on are gone
        changed,   // `count` rows from `first` on look different
        moved,     // `count` rows from `first` on stand at `to` now, counted without them
        chrome,    // anything beside the rows
    };
    Kind kind = Kind::chrome;
    std::size_t first = 0;
    std::size_t count = 0;
    std::size_t to = 0;  // with `moved`

    bool operator==(const ScreenChange&) const = default;
};

}  // namespace tovri
