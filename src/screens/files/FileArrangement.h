#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/TextCollation.h"
#include "service/records/PutIOFile.h"

namespace tovri {

enum class SortOrder : std::uint8_t { name, size, date };

// A listing as it is shown: filtered by a text, folders before everything else, each group sorted by name upwards or by
// size or date downwards. Files that compare equal keep their order. Remembers what it found out about the listing, so
// that each further letter of a search costs little.
class FileArrangement {
public:
    using Listing = std::shared_ptr<const std::vector<PutIOFile>>;

    // The files whose names contain `searchText`. The pointers lead into the listing.
    [[nodiscard]] std::vector<const PutIOFile*> arrange(const Listing& listing, std::string_view searchText,
                                                        SortOrder order, const TextCollation& collation);

private:
    void sort(SortOrder order);
    [[nodiscard]] const std::string& searchKey(const PutIOFile& file) const;

    Listing listing_;
    const TextCollation* collation_ = nullptr;
    SortOrder order_ = SortOrder::name;
    std::vector<const PutIOFile*> sorted_;
    std::vector<std::string> searchKeys_;  // in the listing's order; empty until a search needs them
};

}  // namespace tovri
