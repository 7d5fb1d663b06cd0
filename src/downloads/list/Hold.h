#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "base/Bytes.h"

namespace tovri {

// Why a queued item is no candidate for a slot. Never changed: an item that waits for something else gets another one.
// One that was read from the queue file has a text and nothing else.
struct Hold {
    enum class Reason : std::uint8_t {
        name,    // longer than the volume allows
        folder,  // nothing can be written to it
        room,    // too little of it is left on the volume
        volume,  // the folder is on another one than before
    };

    Reason reason = Reason::room;
    std::string what = {};              // equal for all items that wait for the same
    std::filesystem::path folder = {};  // where to look whether it has changed
    ByteCount needed = 0;               // bytes: of room, or of the longest name
    std::string text = {};              // as the user sees it
};

using HoldPointer = std::shared_ptr<const Hold>;

}  // namespace tovri
