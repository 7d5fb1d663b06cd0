#include "service/records/PutIOFile.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <tuple>

#include "base/ByteCountFormat.h"
#include "service/requests/ASCII.h"

namespace tovri {
namespace {

constexpr std::array<std::string_view, 8> rawValues{"FOLDER", "FILE",    "AUDIO", "VIDEO",
                                                    "IMAGE",  "ARCHIVE", "PDF",   "TEXT"};

bool containsAny(std::string_view text, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(words, [&](std::string_view word) { return text.contains(word); });
}

template <class Value>
void combine(std::size_t& seed, const Value& value) {
    seed ^= std::hash<Value>{}(value) + 0x9e3779b97f4a7c15U + (seed << 6U) + (seed >> 2U);
}

}  // namespace

std::string PutIOFile::displaySize() const {
    if (size.value_or(0) >= 1) return formatByteCount(*size);
    return isFolder() ? "Empty" : "0 bytes";
}

std::string_view PutIOFile::iconName() const {
    if (isFolder()) return "folder.fill";
    const std::string type = asciiLowercased(contentType.value_or(""));
    if (type.starts_with("video")) return "film";
    if (type.starts_with("audio")) return "music.note";
    if (type.starts_with("image")) return "photo";
    if (containsAny(type, {"zip", "rar", "tar", "archive"})) return "doc.zipper";
    if (type.contains("pdf")) return "doc.richtext";
    if (type.contains("text")) return "doc.text";
    return "doc";
}

std::string_view rawValue(PutIOFile::FileType type) {
    return rawValues[static_cast<std::size_t>(type)];
}

PutIOFile::FileType fileTypeOf(std::string_view rawValue) {
    const auto* const found = std::ranges::find(rawValues, asciiUppercased(rawValue));
    if (found == rawValues.end()) return PutIOFile::FileType::file;
    return static_cast<PutIOFile::FileType>(found - rawValues.begin());
}

}  // namespace tovri

std::size_t std::hash<tovri::PutIOFile>::operator()(const tovri::PutIOFile& file) const noexcept {
    std::size_t seed = 0;
    std::apply([&](const auto&... field) { (tovri::combine(seed, file.*field.member), ...); },
               tovri::PutIOFile::jsonFields());
    return seed;
}
