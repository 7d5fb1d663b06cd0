#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/UUID.h"
#include "downloads/list/Download.h"
#include "downloads/list/ListedName.h"
#include "platform/TextCollation.h"

namespace tovri {

// The names of downloads as a search compares them. A name of plain ASCII has its key in no time; that of any other is
// kept from the first time on, since a search asks for all of them with every letter that is typed.
class NameKeys {
public:
    // `collation` outlives the keys.
    explicit NameKeys(const TextCollation& collation) : collation_(collation) {}

    // That of put.io, or that under which the item is listed.
    [[nodiscard]] bool contains(const Download& item, std::string_view wanted) {
        const std::string_view listed = listedName(item);
        return isIn(item, wanted) || (listed != item.fileName && collation_.searchKey(listed).contains(wanted));
    }

    void forget() { keys_ = {}; }

private:
    [[nodiscard]] bool isIn(const Download& item, std::string_view wanted) {
        if (isPlain(item.fileName)) return collation_.searchKey(item.fileName).contains(wanted);
        const auto [found, isNew] = keys_.try_emplace(item.id);
        if (isNew) found->second = collation_.searchKey(item.fileName);
        return found->second.contains(wanted);
    }

    [[nodiscard]] static bool isPlain(std::string_view name) {
        return std::ranges::all_of(name, [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
    }

    const TextCollation& collation_;
    std::unordered_map<UUID, std::string> keys_;
};

}  // namespace tovri
