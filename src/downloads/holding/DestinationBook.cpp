#include "downloads/holding/DestinationBook.h"

#include <algorithm>
#include <ranges>

#include "base/FileURL.h"

namespace tovri {
namespace {

using Path = std::filesystem::path;

constexpr char separator = '\t';  // never in a file URL

bool isAtOrBelow(const Path& path, const Path& folder) {
    return std::ranges::mismatch(folder, path).in1 == folder.end();
}

// A mount point may stand in it, with whatever bytes its name has.
std::string singleLine(std::string identity) {
    std::ranges::replace_if(identity, [](char letter) { return letter == separator || letter == '\n'; }, ' ');
    return identity;
}

bool contradicts(const DestinationBook::Entry& entry, const Path& folder, const DestinationFacts& facts) {
    const bool isMountedBelow = facts.mountPoint != entry.folder && isAtOrBelow(facts.mountPoint, entry.folder);
    return isAtOrBelow(folder, entry.folder) && !isMountedBelow && entry.identity != singleLine(facts.volume.identity);
}

}  // namespace

const DestinationBook::Entry* DestinationBook::contradiction(const Path& folder, const DestinationFacts& facts) const {
    const auto found =
        std::ranges::find_if(entries_, [&](const Entry& entry) { return contradicts(entry, folder, facts); });
    return found == entries_.end() ? nullptr : &*found;
}

bool DestinationBook::knows(const Path& folder, const std::string& identity) const {
    return std::ranges::any_of(entries_, [&](const Entry& entry) {
        return entry.identity == identity && entry.folder != entry.mountPoint && isAtOrBelow(folder, entry.folder);
    });
}

// The folder that was there first stands for all that comes below it; the mount point for all of its volume, so that
// other folders of it are not sought elsewhere either. The volume of the root is always there.
bool DestinationBook::note(const Path& folder, const DestinationFacts& facts) {
    const std::string identity = singleLine(facts.volume.identity);
    const Path& first = isAtOrBelow(folder, facts.volume.folder) ? facts.volume.folder : folder;
    const std::size_t before = entries_.size();
    const bool isMountKnown = std::ranges::any_of(
        entries_, [&](const Entry& entry) { return entry.folder == facts.mountPoint && entry.identity == identity; });
    bool isNew = false;
    if (facts.mountPoint.has_relative_path() && !isMountKnown) {
        add({facts.mountPoint, facts.mountPoint, identity});
        isNew = true;
    }
    if (first != facts.mountPoint && !knows(first, identity)) {
        std::erase_if(entries_, [&](const Entry& entry) {
            return entry.folder != entry.mountPoint && entry.identity == identity && isAtOrBelow(entry.folder, first);
        });
        add({first, facts.mountPoint, identity});
        isNew = true;
    }
    return isNew || entries_.size() != before;
}

void DestinationBook::accept(const Path& folder, const DestinationFacts& facts) {
    for (Entry& entry : entries_) {
        if (!contradicts(entry, folder, facts)) continue;
        entry.identity = singleLine(facts.volume.identity);
        entry.mountPoint = facts.mountPoint;
    }
}

void DestinationBook::add(Entry entry) {
    std::erase_if(entries_, [&](const Entry& each) { return each.folder == entry.folder; });
    if (entries_.size() == most) entries_.erase(entries_.begin());
    entries_.push_back(std::move(entry));
}

std::string DestinationBook::encode() const {
    std::string text;
    for (const Entry& entry : entries_)
        text += fileURLText(entry.folder, FileURLKind::folder) + separator +
                fileURLText(entry.mountPoint, FileURLKind::folder) + separator + entry.identity + '\n';
    return text;
}

DestinationBook DestinationBook::decode(std::string_view text) {
    DestinationBook book;
    for (const auto line : std::views::split(text, '\n')) {
        std::vector<std::string_view> fields;
        for (const auto field : std::views::split(line, separator)) fields.emplace_back(field.begin(), field.end());
        if (fields.size() != 3) continue;
        auto folder = parseFileURL(fields[0]);
        auto mountPoint = parseFileURL(fields[1]);
        if (folder && mountPoint) book.add({std::move(*folder), std::move(*mountPoint), std::string(fields[2])});
    }
    return book;
}

}  // namespace tovri
