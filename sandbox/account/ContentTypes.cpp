#include "sandbox/account/ContentTypes.h"

#include <algorithm>
#include <string>
#include <utility>

namespace tovri::sandbox {
namespace {

constexpr std::pair<std::string_view, std::string_view> typesByExtension[] = {
    {"mkv", "video/x-matroska"},
    {"mp4", "video/mp4"},
    {"avi", "video/x-msvideo"},
    {"webm", "video/webm"},
    {"mp3", "audio/mpeg"},
    {"flac", "audio/flac"},
    {"ogg", "audio/ogg"},
    {"m4b", "audio/mp4"},
    {"jpg", "image/jpeg"},
    {"png", "image/png"},
    {"tif", "image/tiff"},
    {"zip", "application/zip"},
    {"rar", "application/x-rar"},
    {"tar", "application/x-tar"},
    {"pdf", "application/pdf"},
    {"epub", "application/epub+zip"},
    {"txt", "text/plain"},
    {"nfo", "text/plain"},
    {"srt", "application/x-subrip"},
    {"torrent", "application/x-bittorrent"},
};

constexpr std::pair<std::string_view, std::string_view> kindsByPrefix[] = {
    {"application/x-directory", "FOLDER"},
    {"video/", "VIDEO"},
    {"audio/", "AUDIO"},
    {"image/", "IMAGE"},
    {"text/", "TEXT"},
    {"application/pdf", "PDF"},
    {"application/zip", "ARCHIVE"},
    {"application/x-rar", "ARCHIVE"},
    {"application/x-tar", "ARCHIVE"},
};

}  // namespace

std::string_view contentTypeForName(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    std::string extension(dot == std::string_view::npos ? "" : name.substr(dot + 1));
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? char(c + 32) : c; });
    for (const auto& [known, type] : typesByExtension) {
        if (known == extension) return type;
    }
    return "application/octet-stream";
}

std::string_view fileTypeForContentType(std::string_view contentType) {
    for (const auto& [prefix, kind] : kindsByPrefix) {
        if (contentType.starts_with(prefix)) return kind;
    }
    return "FILE";
}

}  // namespace tovri::sandbox
