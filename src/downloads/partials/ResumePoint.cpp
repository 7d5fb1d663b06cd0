#include "downloads/partials/ResumePoint.h"

#include "base/FileURL.h"
#include "downloads/partials/TextLines.h"

namespace tovri {
namespace {

constexpr std::string_view firstFormat = "tovri-resume-1";
constexpr std::string_view format = "tovri-resume-2";
constexpr std::string_view formatWithFolder = "tovri-resume-3";

bool isUsable(const ResumePoint& point, bool mayBeWhole) {
    if (point.offset < 1 || point.offset > point.length) return false;
    if (!isPlainText(point.validator) || !isPlainText(point.link)) return false;
    return point.isWhole() ? mayBeWhole : !point.validator.empty() && !point.link.empty();
}

}  // namespace

ByteBlob ResumePoint::encoded() const {
    ByteBlob text(folder ? formatWithFolder : format);
    for (const std::string& line : {std::to_string(length), std::to_string(offset), partial.text(), validator, link,
                                    checksum ? checksum->text() : std::string()}) {
        text += '\n';
        text += line;
    }
    if (folder) text += '\n' + fileURLText(*folder, FileURLKind::folder);
    return text + '\n';
}

std::optional<ResumePoint> ResumePoint::parse(std::string_view token) {
    const auto lines = splitLines(token);
    if (!lines || lines->size() < 6) return std::nullopt;
    const bool isFirstFormat = lines->front() == firstFormat;
    const bool hasFolder = lines->front() == formatWithFolder;
    if (!isFirstFormat && !hasFolder && lines->front() != format) return std::nullopt;
    if (lines->size() != (isFirstFormat ? 6U : hasFolder ? 8U : 7U)) return std::nullopt;
    const auto folder = hasFolder ? parseFileURL((*lines)[7]) : std::nullopt;
    if (hasFolder && !folder) return std::nullopt;

    const auto length = parseCount((*lines)[1]);
    const auto offset = parseCount((*lines)[2]);
    const auto partial = UUID::parse((*lines)[3]);
    if (!length || !offset || !partial) return std::nullopt;
    ResumePoint point{.link = std::string((*lines)[5]),
                      .validator = std::string((*lines)[4]),
                      .length = *length,
                      .offset = *offset,
                      .partial = *partial,
                      .checksum = isFirstFormat ? std::nullopt : Checksum::parse((*lines)[6]),
                      .folder = folder};
    if (!isUsable(point, !isFirstFormat)) return std::nullopt;
    return point;
}

}  // namespace tovri
