#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "downloads/DownloadManager.h"
#include "limits/SpeedControl.h"
#include "screens/MenuItem.h"

namespace tovri {

enum class TrayAction : std::uint8_t { show, pauseAll, resumeAll, limitSpeed, quit };

// The menu of the icon that stands for the program while it has no window.
[[nodiscard]] std::vector<MenuItem<TrayAction>> trayMenu(const DownloadManager& downloads, const SpeedControl& speed);

// What the pointer finds there: "Tovri", "Tovri – 3 downloads".
[[nodiscard]] std::string trayText(const DownloadManager& downloads);

}  // namespace tovri
