#pragma once

#include <filesystem>

#include "base/Result.h"
#include "platform/FileManager.h"

namespace tovri {

// Where this program's files are, by the XDG Base Directory Specification 0.8 (freedesktop.org): an address in the
// environment that is not absolute counts as absent.
struct XDGFolders {
    StandardFolders standard;             // applicationData: $XDG_DATA_HOME/Tovri
    std::filesystem::path configuration;  // $XDG_CONFIG_HOME/Tovri
    std::filesystem::path state;          // $XDG_STATE_HOME/Tovri

    [[nodiscard]] static XDGFolders fromEnvironment();
};

// The folder with all missing parents, which only the user can enter when they are new. An existing one has to belong
// to the user, and is closed to all others; its parents stay as they are.
[[nodiscard]] Result<void> createPrivateFolder(const std::filesystem::path& folder);

}  // namespace tovri
