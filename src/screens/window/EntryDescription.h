#pragma once

#include <filesystem>
#include <stop_token>
#include <string>

#include "base/Task.h"
#include "platform/EntryLook.h"
#include "platform/MainLoop.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// What entries of folders are described with; all of it outlives who holds it.
struct EntryPorts {
    MainLoop& loop;
    VolumeQueues& volumes;
    EntryLook& entries;
    const WallClock& clock;
};

// "1.2 GB · 4 Mar 2024, 10:22", or "Folder · …"; "Not there" where there is nothing. Looks on a lane of its own for
// each folder: one that hangs holds up nobody else, and is waited for by nobody. Empty after a stop.
[[nodiscard]] Task<std::string> describeEntry(EntryPorts ports, std::filesystem::path path, std::stop_token stop);

}  // namespace tovri
