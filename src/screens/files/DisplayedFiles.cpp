#include "screens/files/DisplayedFiles.h"

#include <algorithm>
#include <functional>
#include <string>
#include <type_traits>

namespace tovri {
namespace {

using FilePointers = std::vector<const PutIOFile*>;

FilePointers filesNamed(const std::vector<PutIOFile>& files, std::string_view searchText,
                        const TextCollation& collation) {
    FilePointers found;
    found.reserve(files.size());
    const std::string wanted = collation.searchKey(searchText);
    for (const PutIOFile& file : files)
        if (searchText.empty() || collation.searchKey(file.name).contains(wanted)) found.push_back(&file);
    return found;
}

// Entries that compare equal keep their order in the listing, which is that of their addresses.
template <class Key, class Compare>
FilePointers foldersFirst(const FilePointers& files, Key keyOf, Compare precedes) {
    using SortKey = std::invoke_result_t<Key, const PutIOFile&>;

    struct Entry {
        SortKey key;
        const PutIOFile* file;
    };

    std::vector<Entry> entries;
    entries.reserve(files.size());
    for (const PutIOFile* file : files) entries.push_back({keyOf(*file), file});
    std::ranges::sort(entries, [&](const Entry& left, const Entry& right) {
        if (left.file->isFolder() != right.file->isFolder()) return left.file->isFolder();
        if (left.key != right.key) return precedes(left.key, right.key);
        return std::less<>()(left.file, right.file);
    });
    FilePointers sorted;
    sorted.reserve(entries.size());
    for (const Entry& entry : entries) sorted.push_back(entry.file);
    return sorted;
}

}  // namespace

std::vector<const PutIOFile*> displayedFiles(const std::vector<PutIOFile>& files, std::string_view searchText,
                                             SortOrder order, const TextCollation& collation) {
    const FilePointers found = filesNamed(files, searchText, collation);
    const auto name = [&](const PutIOFile& file) { return collation.sortKey(file.name); };
    const auto size = [](const PutIOFile& file) { return file.size.value_or(0); };
    const auto date = [](const PutIOFile& file) {
        return file.createdAt ? std::string_view(*file.createdAt) : std::string_view();
    };
    switch (order) {
        case SortOrder::name:
            return foldersFirst(found, name, std::less<>());
        case SortOrder::size:
            return foldersFirst(found, size, std::greater<>());
        case SortOrder::date:
            return foldersFirst(found, date, std::greater<>());
    }
    return found;
}

}  // namespace tovri
