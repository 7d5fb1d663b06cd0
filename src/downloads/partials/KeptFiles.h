#pragma once

#include <memory>
#include <unordered_map>

#include "downloads/list/Download.h"

namespace tovri {

// The files that have arrived whole and could not be placed: which item has which. An item that is to fetch the same
// file of put.io gets it instead of a second one. Touches no disk.
class KeptFiles {
public:
    // The item has one, in its `receivedFile`, and nothing works on it.
    void note(const DownloadPointer& item);

    // Gives the item the one that another has of the same file. False when there is none.
    bool takeOver(Download& item);

    // Whether another item has the same file.
    [[nodiscard]] bool hasAnother(const Download& item) { return find(item) != nullptr; }

private:
    [[nodiscard]] DownloadPointer find(const Download& item);

    void sweep();

    std::unordered_multimap<FileID, std::weak_ptr<Download>> items_;  // by put.io file; also some that have lost it
    std::size_t sweepAt_ = 64;  // when there are so many, those that have are looked for
};

}  // namespace tovri
