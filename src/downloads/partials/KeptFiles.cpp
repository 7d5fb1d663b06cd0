#include "downloads/partials/KeptFiles.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tovri {
namespace {

// Only what put.io tells apart can be told to be the same.
bool isSameFile(const Download& a, const Download& b) {
    return a.fileID == b.fileID && a.fileSize == b.fileSize && a.fileSize > 0 && a.crc32 == b.crc32;
}

}  // namespace

void KeptFiles::note(const DownloadPointer& item) {
    auto [entry, end] = items_.equal_range(item->fileID);
    while (entry != end) {
        const DownloadPointer noted = entry->second.lock();
        const bool isStale = !noted || !noted->receivedFile || noted == item;
        entry = isStale ? items_.erase(entry) : std::next(entry);
    }
    items_.emplace(item->fileID, item);
    if (items_.size() >= sweepAt_) sweep();
}

// Each entry keeps the memory of its item, also of one that has left the list.
void KeptFiles::sweep() {
    std::erase_if(items_, [](const auto& entry) {
        const DownloadPointer noted = entry.second.lock();
        return !noted || !noted->receivedFile;
    });
    sweepAt_ = std::max<std::size_t>(64, 2 * items_.size());
}

DownloadPointer KeptFiles::find(const Download& item) {
    const auto [first, end] = items_.equal_range(item.fileID);
    for (auto entry = first; entry != end; ++entry) {
        DownloadPointer noted = entry->second.lock();
        if (!noted || noted.get() == &item || noted->run || !noted->receivedFile) continue;
        if (isSameFile(*noted, item)) return noted;
    }
    return nullptr;
}

bool KeptFiles::takeOver(Download& item) {
    const DownloadPointer other = find(item);
    if (!other) return false;
    item.receivedFile = std::exchange(other->receivedFile, nullptr);
    return true;
}

}  // namespace tovri
