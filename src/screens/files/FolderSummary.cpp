#include "screens/files/FolderSummary.h"

#include "base/ByteCountFormat.h"

namespace tovri {

std::string folderSummary(std::size_t count, const std::vector<const PutIOFile*>& selected) {
    std::string all = std::to_string(count) + (count == 1 ? " item" : " items");
    if (selected.empty()) return all;
    ByteCount size = 0;
    for (const PutIOFile* file : selected)
        if (const ByteCount known = file->size.value_or(0); known > 0) size += known;
    const std::string part = std::to_string(selected.size()) + " of " + all + " selected";
    return size > 0 ? part + ", " + formatByteCount(size) : part;
}

}  // namespace tovri
