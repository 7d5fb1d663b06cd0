#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

enum class FileURLKind { file, folder };

// The file URL of an absolute path (RFC 8089): "file:///a%20b", for a folder with a slash at its end. Every byte that a
// URL path cannot hold (RFC 3986, section 3.3) is percent-encoded, so a name that is not UTF-8 survives as well.
// Whatever the path is, parseFileURL can read the text: of one that is not absolute a slash is put in front, and NUL is
// left out.
[[nodiscard]] std::string fileURLText(const std::filesystem::path& path, FileURLKind kind);

// The path of a file URL without host, or of the host "localhost"; a slash at its end is dropped unless it is the
// whole path. None for anything else: another scheme, a relative path, a query, a byte that a URL cannot hold, a broken
// percent-encoding, or one of a byte that no name can hold.
[[nodiscard]] std::optional<std::filesystem::path> parseFileURL(std::string_view text);

}  // namespace tovri
