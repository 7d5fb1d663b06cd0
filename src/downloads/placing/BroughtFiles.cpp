#include "downloads/placing/BroughtFiles.h"

#include <algorithm>
#include <charconv>
#include <ranges>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/FileURL.h"

namespace tovri {
namespace {

constexpr char separator = '\t';  // never in a file URL or a number
constexpr std::size_t mostEntries = 100'000;

constexpr std::string_view keptWord = "kept";
constexpr std::string_view goneWord = "gone";
constexpr std::string_view forgottenWord = "forgotten";

struct Line {
    std::string_view word;
    FileIdentity identity;
    ByteCount size = 0;
    std::filesystem::path path;
};

template <class Number>
bool read(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

// None for a line that a dying process left unfinished.
std::optional<Line> parse(std::string_view text) {
    std::vector<std::string_view> fields;
    for (const auto field : std::views::split(text, separator)) fields.emplace_back(field.begin(), field.end());
    if (fields.size() != 5) return std::nullopt;
    Line line;
    line.word = fields[0];
    auto path = parseFileURL(fields[4]);
    const bool isKnown = line.word == keptWord || line.word == goneWord || line.word == forgottenWord;
    if (!isKnown || !path || !read(fields[1], line.identity.volume) || !read(fields[2], line.identity.number) ||
        !read(fields[3], line.size))
        return std::nullopt;
    line.path = std::move(*path);
    return line;
}

std::string lineOf(const Line& line) {
    const std::string url = fileURLText(line.path, FileURLKind::file);
    std::string text(line.word);
    for (const std::string& field :
         {std::to_string(line.identity.volume), std::to_string(line.identity.number), std::to_string(line.size), url})
        text += separator + field;
    return text + '\n';
}

// The last line about a path counts, and the last one about each file of which it says that its original is gone: the
// file may have another name by now. In their order, and without the oldest when they are too many.
std::vector<Line> linesThatCount(const std::vector<std::string_view>& lines) {
    std::unordered_map<std::string, std::string_view> newestWords;  // by path
    std::unordered_set<std::string> seen;
    std::vector<Line> counting;
    for (const std::string_view each : lines | std::views::reverse) {
        std::optional<Line> line = parse(each);
        if (!line) continue;
        const auto [newest, isNewest] = newestWords.try_emplace(line->path.native(), line->word);
        if (line->word == forgottenWord) continue;
        const std::string file = std::to_string(line->identity.number) + separator + std::to_string(line->size);
        if (!seen.insert(line->path.native() + separator + file).second) continue;
        if (!isNewest && line->word == keptWord) continue;
        if (newest->second == forgottenWord) counting.push_back({forgottenWord, {}, 0, line->path});
        newest->second = line->word;
        if (counting.size() >= mostEntries) break;
        counting.push_back(std::move(*line));
    }
    std::ranges::reverse(counting);
    return counting;
}

}  // namespace

BroughtFiles::BroughtFiles(FileManager& files, std::filesystem::path file) : files_(files), file_(std::move(file)) {}

Result<void> BroughtFiles::note(const std::filesystem::path& path, const FileStamp& stamp, Original original) {
    const std::scoped_lock lock(access_);
    load();
    add(path.native(), {stamp.identity, stamp.size, original});
    return append(lineOf({original == Original::gone ? goneWord : keptWord, stamp.identity, stamp.size, path}));
}

void BroughtFiles::forget(const std::filesystem::path& path) {
    const std::scoped_lock lock(access_);
    load();
    if (!entries_.contains(path.native())) return;
    erase(path.native());
    (void)append(lineOf({forgottenWord, {}, 0, path}));
}

Result<void> BroughtFiles::mark(const std::filesystem::path& path, std::optional<Original> original) {
    const std::string word(!original ? std::string_view() : *original == Original::gone ? goneWord : keptWord);
    if (files_.mark(path) == word) return {};  // nobody is to find that the file has changed
    return files_.setMark(path, word);
}

std::optional<BroughtFiles::Original> BroughtFiles::find(const std::filesystem::path& path) {
    const std::string mark = files_.mark(path);
    if (mark == goneWord) return Original::gone;
    const std::optional<Original> listed = findListed(path);
    return !listed && mark == keptWord ? Original::kept : listed;
}

// The volume is asked without the lock: one that hangs must not hold up the others.
std::optional<BroughtFiles::Original> BroughtFiles::findListed(const std::filesystem::path& path) {
    const auto stamp = files_.stamp(path);
    const std::string itself = path.native() + "/";
    const std::string folder = path.parent_path().native() + "/";
    std::vector<std::pair<std::string, Original>> ofThatSize;  // in the same folder
    {
        const std::scoped_lock lock(access_);
        load();
        if (const auto original = findItself(path.native(), stamp)) return original;
        const auto first = entries_.lower_bound(itself);
        if (first != entries_.end() && first->first.starts_with(itself)) return Original::kept;
        if (!stamp || stamp->size == 0) return std::nullopt;
        for (auto each = entries_.lower_bound(folder); each != entries_.end() && each->first.starts_with(folder);
             ++each)
            if (each->second.size == stamp->size) ofThatSize.emplace_back(each->first, each->second.original);
    }
    // A volume may take two spellings for one name, and number its files anew each time that it is connected.
    const auto isItself = [&](const auto& named) { return files_.identity(named.first) == stamp->identity; };
    const auto found = std::ranges::find_if(ofThatSize, isItself);
    return found != ofThatSize.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<BroughtFiles::Original> BroughtFiles::findItself(const std::string& path,
                                                               const std::optional<FileStamp>& stamp) const {
    if (const auto entry = entries_.find(path); entry != entries_.end()) return entry->second.original;
    // The number of a file that is gone is soon another file's, but hardly one of its size.
    const auto known = stamp ? originals_.find({stamp->identity.number, stamp->size}) : originals_.end();
    return known != originals_.end() ? std::optional(known->second) : std::nullopt;
}

Result<void> BroughtFiles::makeDurable() {
    const std::scoped_lock lock(access_);
    return files_.makeDurable(file_);
}

void BroughtFiles::load() {
    constexpr std::size_t slack = 1000;
    if (std::exchange(isLoaded_, true)) return;
    const Result<ByteBlob> text = files_.readFile(file_);
    if (!text || text->empty()) return;
    std::vector<std::string_view> lines;
    for (const auto part : std::views::split(std::string_view(*text), '\n'))
        lines.emplace_back(part.begin(), part.end());
    const std::vector<Line> counting = linesThatCount(lines);
    for (const Line& line : counting)
        if (line.word == forgottenWord)
            erase(line.path.native());
        else
            add(line.path.native(),
                {line.identity, line.size, line.word == goneWord ? Original::gone : Original::kept});
    if (lines.size() > (2 * counting.size()) + slack) {
        std::string rest;
        for (const Line& line : counting) rest += lineOf(line);
        (void)files_.writeFileAtomically(file_, rest);
    } else if (text->back() != '\n') {
        (void)append("\n");  // what a dying process left unfinished ends here
    }
}

void BroughtFiles::add(const std::string& path, const Entry& entry) {
    if (const auto before = entries_.find(path); before != entries_.end() && keyOf(before->second) != keyOf(entry))
        erase(path);
    entries_[path] = entry;
    originals_[keyOf(entry)] = entry.original;
}

void BroughtFiles::erase(const std::string& path) {
    const auto entry = entries_.extract(path);
    if (entry && entry.mapped().original == Original::kept) originals_.erase(keyOf(entry.mapped()));
}

Result<void> BroughtFiles::append(const std::string& line) {
    return files_.appendToFile(file_, line);
}

}  // namespace tovri
