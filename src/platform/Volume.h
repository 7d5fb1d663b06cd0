#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "base/Bytes.h"

namespace tovri {

// The file system that holds a folder, as it was when it was asked.
struct Volume {
    std::uint64_t number = 0;            // as in FileIdentity: good while it is mounted
    std::string identity;                // lasting: tells it from others also after it was mounted anew
    bool keepsNumbers = false;           // whether its files have the numbers of FileIdentity then, too
    std::filesystem::path folder;        // the nearest folder that exists
    std::optional<ByteCount> available;  // bytes that the user may still fill; none where the volume does not say
    std::optional<ByteCount> total;
    std::size_t longestName = 255;  // bytes
    bool isWritable = false;        // whether entries can be made in the folder

    bool operator==(const Volume&) const = default;
};

}  // namespace tovri
