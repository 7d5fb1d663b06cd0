#pragma once

#include <cstdint>
#include <vector>

#include "screens/MenuItem.h"
#include "service/records/PutIOFile.h"

namespace tovri {

enum class FileMenuAction : std::uint8_t {
    open,
    download,  // files only; whether put.io keeps them is the preferences' to say
    downloadAndDelete,
    downloadFolder,
    downloadFolderAndDelete,
    copyDownloadLink,
    openInPutIO,
    remove,
};

// The context menu of these files and folders.
[[nodiscard]] std::vector<MenuItem<FileMenuAction>> fileMenu(const std::vector<const PutIOFile*>& targets);

}  // namespace tovri
