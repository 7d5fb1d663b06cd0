#pragma once

namespace tovri {

// What people call the file manager here, where "Show in …" ends with it.
inline constexpr const char* fileManagerName = "Folder";

}  // namespace tovri
