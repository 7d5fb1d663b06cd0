#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "service/records/PutIOFile.h"

namespace tovri {

// A put.io file that is being dragged.
struct FileTransfer {
    FileID fileID;
    std::string fileName;

    bool operator==(const FileTransfer&) const = default;
};

// One JSON object per line, with the keys "fileID" and "fileName" and no others.
[[nodiscard]] std::string fileTransferPayload(const std::vector<const PutIOFile*>& files);

// None unless every line is such an object.
[[nodiscard]] std::optional<std::vector<FileTransfer>> parseFileTransfers(std::string_view payload);

}  // namespace tovri
