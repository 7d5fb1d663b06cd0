#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/records/PutIOFile.h"

namespace tovri {

// The service's answer to a folder listing.
struct PutIOFileList {
    std::vector<PutIOFile> files;
    std::optional<PutIOFile> parent;    // the listed folder itself
    std::optional<std::string> cursor;  // present when the listing goes on
    std::string status;

    // Whether the folder holds nothing but these files.
    [[nodiscard]] bool isComplete() const { return !cursor || cursor->empty(); }

    bool operator==(const PutIOFileList&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"files", &PutIOFileList::files}, JSONField{"parent", &PutIOFileList::parent},
                             JSONField{"cursor", &PutIOFileList::cursor}, JSONField{"status", &PutIOFileList::status});
    }
};

}  // namespace tovri
