#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "platform/WallClock.h"

namespace tovri {

// Why a queued item is no candidate for a slot, or why a downloading one brings no bytes. Never changed: an item that
// waits for something else gets another one. One that was read from the queue file has a text and nothing else.
struct Hold {
    enum class Reason : std::uint8_t {
        name,     // longer than the volume allows
        folder,   // nothing can be written to it
        room,     // too little of it is left on the volume
        volume,   // the folder is on another one than before
        service,  // put.io, or the way to it, has failed
        later,    // it has failed, and its rule lets it try again some time
        account,  // another account is signed in than when it was queued
    };

    Reason reason = Reason::room;
    std::string what = {};                // equal for all items that wait for the same
    std::filesystem::path folder = {};    // where to look whether it has changed
    ByteCount needed = 0;                 // bytes: of room, or of the longest name
    std::string text = {};                // as the user sees it
    std::optional<Timestamp> until = {};  // when it goes on, where that is known

    // Whether it waits for a destination, and says which.
    [[nodiscard]] bool isForDestination() const { return !isForTime() && reason != Reason::account; }

    // Whether it is over at some time by itself.
    [[nodiscard]] bool isForTime() const { return reason == Reason::service || reason == Reason::later; }

    // `what` of all that wait for the same host.
    [[nodiscard]] static std::string host(const std::string& name) { return "host " + name; }

    // The text with the time that is left.
    [[nodiscard]] std::string textAt(Timestamp now) const;
};

using HoldPointer = std::shared_ptr<const Hold>;

}  // namespace tovri
