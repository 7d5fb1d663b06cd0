#include "platform/curl/ResumePoint.h"

#include <algorithm>
#include <array>

#include "platform/curl/ContentRange.h"

namespace tovri {
namespace {

constexpr std::string_view formatName = "tovri-resume-1";

using Lines = std::array<std::string_view, 6>;

std::optional<Lines> splitLines(std::string_view text) {
    Lines lines;
    for (std::string_view& line : lines) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) return std::nullopt;
        line = text.substr(0, end);
        text.remove_prefix(end + 1);
    }
    if (!text.empty()) return std::nullopt;
    return lines;
}

// Both end up in a request, where a line break would start a header of its own.
bool isPlainText(std::string_view text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return !text.empty() && std::ranges::none_of(text, isControl);
}

}  // namespace

ByteBlob ResumePoint::encoded() const {
    ByteBlob text(formatName);
    for (const std::string& line : {std::to_string(length), std::to_string(offset), partial.text(), validator, link}) {
        text += '\n';
        text += line;
    }
    return text + '\n';
}

std::optional<ResumePoint> ResumePoint::parse(std::string_view token) {
    const auto lines = splitLines(token);
    if (!lines) return std::nullopt;
    const auto& [format, lengthText, offsetText, partialText, validator, link] = *lines;

    const auto length = parseByteCount(lengthText);
    const auto offset = parseByteCount(offsetText);
    const auto partial = UUID::parse(partialText);
    if (format != formatName || !length || !offset || !partial) return std::nullopt;
    if (*offset < 1 || *offset >= *length || !isPlainText(validator) || !isPlainText(link)) return std::nullopt;
    return ResumePoint{std::string(link), std::string(validator), *length, *offset, *partial};
}

}  // namespace tovri
