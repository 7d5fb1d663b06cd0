#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "downloads/holding/DestinationFacts.h"

namespace tovri {

// Where a run's file goes, as it was found at the run's start.
struct RunTarget {
    std::filesystem::path path;
    std::string lane;                       // of the path's volume
    std::optional<DestinationFacts> facts;  // before anything was placed there
};

}  // namespace tovri
