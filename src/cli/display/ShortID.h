#pragma once

#include <string>

#include "base/UUID.h"

namespace tovri::cli {

// The beginning of an item's ID by which the user names it: long enough to stand for one item alone in a queue of that
// length, in all likelihood; where it does not, the program says so.
[[nodiscard]] inline std::string shortID(const UUID& id, std::size_t queueLength) {
    return id.text().substr(0, queueLength < 1000 ? 8 : 13);
}

}  // namespace tovri::cli
