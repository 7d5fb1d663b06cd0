#pragma once

#include <cstdint>
#include <string>

namespace tovri {

// How the platform's dialog for choosing local files or a local folder is to look.
struct FileChooser {
    enum class Target : std::uint8_t {
        files,   // one or several; no folders
        folder,  // one; a new one can be made
    };

    Target target = Target::folder;
    std::string message;  // above the choice; may be empty
    std::string confirmLabel;
};

}  // namespace tovri
