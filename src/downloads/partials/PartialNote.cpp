#include "downloads/partials/PartialNote.h"

#include <algorithm>
#include <ranges>
#include <tuple>
#include <utility>

#include "downloads/partials/TextLines.h"

namespace tovri {
namespace {

constexpr std::string_view format = "tovri-note-1";
constexpr std::size_t headLines = 9;  // before the parts
constexpr std::string_view unknown = "-";
constexpr std::int64_t highestNumber = std::int64_t{1} << 62U;  // leaves room for those that follow

std::string reachText(const NotedReach& reach) {
    return std::to_string(reach.end) + ' ' + (reach.checksum ? reach.checksum->text() : std::string(unknown));
}

std::string partText(const NotedPart& part) {
    return std::to_string(part.first) + ' ' + reachText(part.written) + ' ' + reachText(part.durable);
}

std::optional<NotedReach> parseReach(std::string_view end, std::string_view checksum) {
    const auto count = parseCount(end);
    const auto known = Checksum::parse(checksum);
    if (!count || (!known && checksum != unknown)) return std::nullopt;
    return NotedReach{.end = *count, .checksum = known};
}

std::optional<NotedPart> parsePart(std::string_view line) {
    std::vector<std::string_view> words;
    for (const auto word : std::views::split(line, ' ')) words.emplace_back(word.begin(), word.end());
    if (words.size() != 5) return std::nullopt;
    const auto first = parseCount(words[0]);
    const auto written = parseReach(words[1], words[2]);
    const auto durable = parseReach(words[3], words[4]);
    if (!first || !written || !durable) return std::nullopt;
    return NotedPart{.first = *first, .written = *written, .durable = *durable};
}

bool isConsistent(const PartialNote& note) {
    ByteCount from = 0;
    for (const NotedPart& part : note.parts) {
        if (part.first < from || part.written.end <= part.first || part.written.end > note.file.length) return false;
        if (part.durable.end < part.first || part.durable.end > part.written.end) return false;
        from = part.written.end;
    }
    return !note.parts.empty() && note.file.canBeGoneOnFrom() && isPlainText(note.file.validator);
}

// The lines above the last one, if that is their checksum.
std::optional<std::vector<std::string_view>> provenLines(std::string_view text) {
    auto lines = splitLines(text);
    if (!lines || lines->size() <= headLines + 1) return std::nullopt;
    const std::string_view last = lines->back();
    Checksum checksum;
    checksum.add(text.substr(0, text.size() - last.size() - 1));
    if (last != checksum.text()) return std::nullopt;
    lines->pop_back();
    return lines;
}

}  // namespace

bool NotedFile::isSame(const NotedFile& other) const {
    if (fileID != other.fileID || length != other.length) return false;
    return checksum && other.checksum ? *checksum == *other.checksum
                                      : !validator.empty() && validator == other.validator;
}

NotedReach PartialNote::beginning() const {
    if (parts.empty() || parts.front().first != 0) return {.end = 0, .checksum = Checksum()};
    return parts.front().written;
}

ByteCount PartialNote::length() const {
    ByteCount sum = 0;
    for (const NotedPart& part : parts) sum += part.written.end - part.first;
    return sum;
}

std::vector<NotedPart> united(std::vector<NotedPart> parts, const std::vector<NotedPart>& more) {
    parts.insert(parts.end(), more.begin(), more.end());
    std::ranges::sort(parts, {}, [](const NotedPart& part) {
        return std::tuple(part.first, -part.written.end, !part.written.checksum);
    });
    std::vector<NotedPart> all;
    for (const NotedPart& part : parts) {
        if (all.empty() || part.first >= all.back().written.end) {
            all.push_back(part);
            continue;
        }
        NotedPart& before = all.back();
        if (part.written.end > before.written.end) before.written = {.end = part.written.end, .checksum = std::nullopt};
        if (part.first == before.first && part.durable.end > before.durable.end) before.durable = part.durable;
    }
    return all;
}

ByteBlob DatedNote::encoded() const {
    const NotedFile& file = note.file;
    ByteBlob text(format);
    for (const std::string& line :
         {std::to_string(number), bootID, note.partial.text(), file.fileID.text(), std::to_string(file.length),
          file.validator, file.checksum ? file.checksum->text() : std::string(),
          std::string(note.isOnTrial ? "on trial" : "")}) {
        text += '\n';
        text += line;
    }
    for (const NotedPart& part : note.parts) text += '\n' + partText(part);
    text += '\n';
    Checksum checksum;
    checksum.add(text);
    return text + checksum.text() + '\n';
}

std::optional<DatedNote> DatedNote::parse(std::string_view text) {
    const auto lines = provenLines(text.substr(0, text.find('\0')));
    if (!lines || lines->front() != format) return std::nullopt;
    const auto number = parseCount((*lines)[1]);
    const auto partial = UUID::parse((*lines)[3]);
    const auto fileID = FileID::parse((*lines)[4]);
    const auto length = parseCount((*lines)[5]);
    const std::string_view checksum = (*lines)[7];
    const std::string_view trial = (*lines)[8];
    const auto listed = Checksum::parse(checksum);
    if (!number || *number > highestNumber || !partial || !fileID || !length) return std::nullopt;
    if ((!listed && !checksum.empty()) || (!trial.empty() && trial != "on trial")) return std::nullopt;
    PartialNote note{
        .partial = *partial,
        .file = {.fileID = *fileID, .length = *length, .validator = std::string((*lines)[6]), .checksum = listed},
        .isOnTrial = !trial.empty(),
        .parts = {}};
    for (const std::string_view line : *lines | std::views::drop(headLines)) {
        const auto part = parsePart(line);
        if (!part) return std::nullopt;
        note.parts.push_back(*part);
    }
    if (!isConsistent(note)) return std::nullopt;
    return DatedNote{.number = *number, .bootID = std::string((*lines)[2]), .note = std::move(note)};
}

std::optional<PartialNote> DatedNote::counting(std::string_view currentBootID) const {
    PartialNote counting = note;
    if (bootID.empty() || bootID != currentBootID)
        for (NotedPart& part : counting.parts) part.written = part.durable;
    std::erase_if(counting.parts, [](const NotedPart& part) { return part.written.end == part.first; });
    return counting.parts.empty() ? std::nullopt : std::optional(std::move(counting));
}

}  // namespace tovri
