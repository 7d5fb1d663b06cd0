#pragma once

#include <vector>

#include "platform/WallClock.h"
#include "screens/Details.h"
#include "service/records/PutIOFile.h"

namespace tovri {

// What there is to say of the selected entries of a folder.
[[nodiscard]] Details fileDetails(const std::vector<const PutIOFile*>& selected, const WallClock& clock);

}  // namespace tovri
