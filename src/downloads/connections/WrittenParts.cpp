#include "downloads/connections/WrittenParts.h"

#include <algorithm>
#include <iterator>

#include "downloads/connections/ChecksumCombination.h"

namespace tovri {
namespace {

// The bytes of the first and those behind it.
WrittenPart joined(const WrittenPart& first, const WrittenPart& second) {
    WrittenPart both{.range = {first.range.first, second.range.end}, .checksum = std::nullopt};
    if (first.checksum && second.checksum)
        both.checksum = combined(*first.checksum, *second.checksum, second.range.length());
    return both;
}

}  // namespace

WrittenParts::WrittenParts(std::vector<WrittenPart> parts) {
    for (const WrittenPart& part : parts) add(part);
}

void WrittenParts::add(const WrittenPart& more) {
    if (more.range.length() <= 0) return;
    length_ += more.range.length();
    const auto firstOf = [](const WrittenPart& part) { return part.range.first; };
    auto place = std::ranges::upper_bound(parts_, more.range.first, {}, firstOf);
    if (place != parts_.begin() && std::prev(place)->range.end == more.range.first) {
        --place;
        *place = joined(*place, more);
    } else {
        place = parts_.insert(place, more);
    }
    const auto next = std::next(place);
    if (next == parts_.end() || next->range.first != place->range.end) return;
    *place = joined(*place, *next);
    parts_.erase(next);
}

WrittenPart WrittenParts::beginning() const {
    return !parts_.empty() && parts_.front().range.first == 0 ? parts_.front() : WrittenPart();
}

std::vector<ByteRange> WrittenParts::missing(ByteCount wholeLength) const {
    std::vector<ByteRange> found;
    ByteCount from = 0;
    for (const WrittenPart& part : parts_) {
        if (part.range.first > from) found.push_back({from, part.range.first});
        from = part.range.end;
    }
    if (from < wholeLength) found.push_back({from, wholeLength});
    return found;
}

}  // namespace tovri
