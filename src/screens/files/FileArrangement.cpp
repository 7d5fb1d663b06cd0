#include "screens/files/FileArrangement.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <span>
#include <type_traits>

namespace tovri {
namespace {

// A sort key whose first bytes are at hand: most comparisons end there.
struct NameKey {
    std::uint64_t beginning = 0;
    std::string bytes;

    explicit NameKey(std::string key) : bytes(std::move(key)) {
        for (std::size_t i = 0; i < sizeof beginning; ++i)
            beginning = beginning << 8U | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
    }

    bool operator==(const NameKey&) const = default;
    auto operator<=>(const NameKey&) const = default;
};

ByteCount sizeOf(const PutIOFile& file) {
    return file.size.value_or(0);
}

std::string_view dateOf(const PutIOFile& file) {
    return file.createdAt ? std::string_view(*file.createdAt) : std::string_view();
}

// Files that compare equal keep their order in the listing, which is that of their addresses.
template <class KeyOf, class Precedes>
void sortBy(std::span<const PutIOFile*> files, KeyOf keyOf, Precedes precedes) {
    struct Entry {
        std::invoke_result_t<KeyOf, const PutIOFile&> key;
        const PutIOFile* file;
    };

    std::vector<Entry> entries;
    entries.reserve(files.size());
    for (const PutIOFile* file : files) entries.push_back({keyOf(*file), file});
    std::ranges::sort(entries, [&](const Entry& left, const Entry& right) {
        return left.key == right.key ? std::less<>()(left.file, right.file) : precedes(left.key, right.key);
    });
    std::ranges::transform(entries, files.begin(), &Entry::file);
}

}  // namespace

std::vector<const PutIOFile*> FileArrangement::arrange(const Listing& listing, std::string_view searchText,
                                                       SortOrder order, const TextCollation& collation) {
    const bool isOther = listing_ != listing || collation_ != &collation;
    listing_ = listing;
    collation_ = &collation;
    if (isOther) searchKeys_.clear();
    if (isOther || order_ != order) sort(order);
    if (searchText.empty()) return sorted_;

    if (searchKeys_.empty())
        for (const PutIOFile& file : *listing_) searchKeys_.push_back(collation.searchKey(file.name));
    std::vector<const PutIOFile*> found;
    const auto isWanted = [&, wanted = collation.searchKey(searchText)](const PutIOFile* file) {
        return searchKey(*file).contains(wanted);
    };
    std::ranges::copy_if(sorted_, std::back_inserter(found), isWanted);
    return found;
}

const std::string& FileArrangement::searchKey(const PutIOFile& file) const {
    return searchKeys_[static_cast<std::size_t>(&file - listing_->data())];
}

void FileArrangement::sort(SortOrder order) {
    order_ = order;
    sorted_.clear();
    sorted_.reserve(listing_->size());
    for (const bool isFolder : {true, false})
        for (const PutIOFile& file : *listing_)
            if (file.isFolder() == isFolder) sorted_.push_back(&file);

    const auto isFolder = [](const PutIOFile* file) { return file->isFolder(); };
    const auto folders = std::ranges::partition_point(sorted_, isFolder) - sorted_.begin();
    const auto nameOf = [this](const PutIOFile& file) { return NameKey(collation_->sortKey(file.name)); };
    const std::span<const PutIOFile*> all(sorted_);
    for (const auto group :
         {all.first(static_cast<std::size_t>(folders)), all.subspan(static_cast<std::size_t>(folders))})
        switch (order) {
            case SortOrder::name:
                sortBy(group, nameOf, std::less<>());
                break;
            case SortOrder::size:
                sortBy(group, sizeOf, std::greater<>());
                break;
            case SortOrder::date:
                sortBy(group, dateOf, std::greater<>());
                break;
        }
}

}  // namespace tovri
