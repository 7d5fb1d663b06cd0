#pragma once

#include "downloads/saving/QueueSnapshot.h"
#include "platform/Platform.h"

namespace tovri::cli {

// The saved queue, for commands that only look at it, also while another process works on it; the empty one when none
// was saved. Leaves an unreadable file as it is and says so.
[[nodiscard]] Result<QueueSnapshot> readSavedQueue(const Platform& platform);

}  // namespace tovri::cli
