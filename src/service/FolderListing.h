#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.h"
#include "service/records/PutIOFile.h"

namespace tovri {

// What a folder holds, as far as it could be read.
struct FolderListing {
    std::vector<PutIOFile> files;   // in the service's order
    std::size_t firstPageSize = 0;  // so many of them came with the first answer; the others had to be asked for
    std::optional<Error> cut;       // why the rest is not among them; none when this is the whole folder
};

// Why a long folder is not read to its end when the user has turned that off.
[[nodiscard]] Error notReadToItsEnd();

// "put.io listed only the beginning of this folder." and the reason. `folder` stands in the sentence as it is.
[[nodiscard]] std::string cutListingText(std::string_view folder, std::string_view reason);

}  // namespace tovri
