#include "downloads/placing/PlacementJournal.h"

#include <charconv>
#include <limits>
#include <ranges>
#include <span>

#include "base/FileURL.h"

namespace tovri {
namespace {

constexpr char separator = '\t';  // never in a file URL, a UUID or a number
constexpr std::string_view none = "-";

std::string line(const PlacementEntry& entry) {
    std::string text = entry.item.text() + separator + std::to_string(entry.file.volume) + separator +
                       std::to_string(entry.file.number) + separator + fileURLText(entry.staged, FileURLKind::file) +
                       separator + fileURLText(entry.target, FileURLKind::file);
    const auto add = [&](const std::string& field) { (text += separator) += field; };
    if (const auto& arrival = entry.arrival) {
        const auto digits = [](const auto& checksum) { return checksum ? checksum->text() : std::string(none); };
        add(std::to_string(arrival->size));
        add(digits(arrival->checksum));
        add(arrival->listedSize ? std::to_string(*arrival->listedSize) : std::string(none));
        add(digits(arrival->listedChecksum));
    }
    return text + '\n';
}

std::optional<std::uint64_t> number(std::string_view text) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<ByteCount> size(std::string_view text) {
    const auto value = number(text);
    if (!value || *value > static_cast<std::uint64_t>(std::numeric_limits<ByteCount>::max())) return std::nullopt;
    return static_cast<ByteCount>(*value);
}

// From the four fields that say it.
std::optional<ArrivalNote> parseArrival(std::span<const std::string_view> fields) {
    const auto arrived = size(fields[0]);
    if (!arrived) return std::nullopt;
    return ArrivalNote{.size = *arrived,
                       .checksum = Checksum::parse(fields[1]),
                       .listedSize = size(fields[2]),
                       .listedChecksum = Checksum::parse(fields[3])};
}

// None for what is not a line of the journal.
std::optional<PlacementEntry> parse(std::string_view text) {
    std::vector<std::string_view> fields;
    for (const auto field : std::views::split(text, separator)) fields.emplace_back(field.begin(), field.end());
    constexpr std::size_t withoutArrival = 5;
    constexpr std::size_t withArrival = 9;
    if (fields.size() != withoutArrival && fields.size() != withArrival) return std::nullopt;
    const auto item = UUID::parse(fields[0]);
    const auto volume = number(fields[1]);
    const auto node = number(fields[2]);
    auto staged = parseFileURL(fields[3]);
    auto target = parseFileURL(fields[4]);
    if (!item || !volume || !node || !staged || !target) return std::nullopt;
    return PlacementEntry{.id = {},
                          .item = *item,
                          .file = {*volume, *node},
                          .staged = std::move(*staged),
                          .target = std::move(*target),
                          .arrival = fields.size() == withArrival
                                         ? parseArrival(std::span(fields).subspan(withoutArrival))
                                         : std::nullopt};
}

}  // namespace

PlacementJournal::PlacementJournal(FileManager& files, std::filesystem::path file)
    : files_(files), file_(std::move(file)) {}

void PlacementJournal::note(const PlacementEntry& entry) {
    const std::string text = line(entry);
    const std::scoped_lock lock(access_);
    lines_[entry.id] += text;
    if (lacksLines_)
        (void)rewrite();
    else
        lacksLines_ = !files_.appendToFile(file_, text);
}

Result<void> PlacementJournal::makeDurable() {
    const std::scoped_lock lock(access_);
    if (lines_.empty()) return {};
    if (lacksLines_) return rewrite();
    return files_.makeDurable(file_);
}

void PlacementJournal::forget(const std::vector<PlacementID>& placements) {
    constexpr std::size_t worthRewriting = std::size_t{1} << 20U;
    const std::scoped_lock lock(access_);
    for (const PlacementID placement : placements) {
        const auto lines = lines_.find(placement);
        if (lines == lines_.end()) continue;
        forgottenBytes_ += lines->second.size();
        lines_.erase(lines);
    }
    if (forgottenBytes_ > 0 && (lines_.empty() || forgottenBytes_ > worthRewriting)) (void)rewrite();
}

Result<void> PlacementJournal::rewrite() {
    std::string text;
    for (const std::string& lines : lines_ | std::views::values) text += lines;
    Result<void> written = text.empty() ? files_.removeItem(file_) : files_.writeFileAtomically(file_, text);
    forgottenBytes_ = 0;
    lacksLines_ = lacksLines_ && !written;
    return written;
}

bool PlacementJournal::haveEqualContent(const std::filesystem::path& a, const std::filesystem::path& b) {
    constexpr std::size_t step = std::size_t{1} << 20U;
    if (files_.fileSize(a) != files_.fileSize(b)) return false;
    const auto fileA = files_.openForReading(a);
    const auto fileB = files_.openForReading(b);
    if (!fileA || !fileB) return false;
    while (true) {
        const Result<ByteBlob> partA = (*fileA)->read(step);
        const Result<ByteBlob> partB = (*fileB)->read(step);
        if (!partA || !partB || *partA != *partB) return false;
        if (partA->empty()) return true;
    }
}

std::vector<PlacementEntry> PlacementJournal::recover() {
    const std::scoped_lock lock(access_);
    std::vector<PlacementEntry> entries;
    const Result<ByteBlob> text = files_.readFile(file_);
    if (!text) return entries;
    std::string_view rest = *text;
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        std::optional<PlacementEntry> entry = parse(rest.substr(0, end));
        rest.remove_prefix(end + 1);
        if (!entry) continue;
        entry->id = nextID();
        lines_[entry->id] = line(*entry);
        entries.push_back(std::move(*entry));
    }
    // What a dying process began to note had not happened yet. Nothing may be added to it.
    lacksLines_ = !rest.empty();
    if (lacksLines_) (void)rewrite();
    return entries;
}

bool PlacementJournal::hasArrived(const PlacementEntry& entry) {
    if (const auto gathered = gatheringPath(entry.staged, entry.target); files_.exists(gathered))
        (void)files_.removeItem(gathered);
    const auto identity = files_.identity(entry.target);
    if (identity == entry.file) return true;
    const bool isCopy = identity && (haveEqualContent(entry.staged, entry.target) ||
                                     haveEqualContent(witnessPath(entry.staged), entry.target));
    // Moved between volumes, which makes another file, and killed before that was noted. The staged one, which shows
    // it, is about to go: note it now, for a process that is killed as well.
    if (isCopy) {
        PlacementEntry copy = entry;
        copy.file = *identity;
        note(copy);
    }
    return isCopy;
}

}  // namespace tovri
