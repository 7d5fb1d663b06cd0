#pragma once

#include "platform/WallClock.h"

namespace tovri {

class DownloadManager;

// Takes off the list, as the user would, what finished more than 30 days ago: for a process without a screen that runs
// for months, in which nobody else does.
void removeOutdatedItems(DownloadManager& downloads, Timestamp now);

}  // namespace tovri
