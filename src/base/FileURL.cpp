#include "base/FileURL.h"

#include <algorithm>
#include <array>

namespace tovri {
namespace {

constexpr std::string_view schemeAndNoHost = "file://";
constexpr std::string_view localHost = "localhost";

constexpr auto staysInPath = [] {
    std::array<bool, 256> stays{};
    for (unsigned char c = 'a'; c <= 'z'; ++c) stays[c] = true;
    for (unsigned char c = 'A'; c <= 'Z'; ++c) stays[c] = true;
    for (unsigned char c = '0'; c <= '9'; ++c) stays[c] = true;
    for (const char c : std::string_view("-._~!$&'()*+,;=:@/")) stays[static_cast<unsigned char>(c)] = true;
    return stays;
}();

bool stays(char c) {
    return staysInPath[static_cast<unsigned char>(c)];
}

constexpr int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

// The byte that the two digits stand for; none when they are no digits or no name can hold the byte.
std::optional<char> decodedByte(std::string_view digits) {
    if (digits.size() != 2) return std::nullopt;
    const int high = digitValue(digits[0]);
    const int low = digitValue(digits[1]);
    if (high < 0 || low < 0) return std::nullopt;
    const char byte = static_cast<char>(high * 16 + low);
    if (byte == '\0' || byte == '/') return std::nullopt;
    return byte;
}

}  // namespace

std::string fileURLText(const std::filesystem::path& path, FileURLKind kind) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string_view rest = path.native();
    const bool needsSlash = kind == FileURLKind::folder && !rest.ends_with('/');
    std::string text;
    text.reserve(schemeAndNoHost.size() + rest.size() + rest.size() / 4 + 1);
    text += schemeAndNoHost;
    if (!rest.starts_with('/')) text += '/';
    while (true) {
        const auto run = static_cast<std::size_t>(std::ranges::find_if_not(rest, stays) - rest.begin());
        text += rest.substr(0, run);
        if (run == rest.size()) break;
        const auto byte = static_cast<unsigned char>(rest[run]);
        const char encoded[] = {'%', digits[byte >> 4U], digits[byte & 15U]};
        if (byte != 0) text.append(encoded, sizeof encoded);
        rest.remove_prefix(run + 1);
    }
    if (needsSlash) text += '/';
    return text;
}

std::optional<std::filesystem::path> parseFileURL(std::string_view text) {
    if (!text.starts_with(schemeAndNoHost)) return std::nullopt;
    text.remove_prefix(schemeAndNoHost.size());
    if (text.starts_with(localHost)) text.remove_prefix(localHost.size());
    if (!text.starts_with('/')) return std::nullopt;
    while (text.size() > 1 && text.ends_with('/')) text.remove_suffix(1);

    std::string path;
    path.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%') {
            const std::optional<char> byte = decodedByte(text.substr(i + 1, 2));
            if (!byte) return std::nullopt;
            path += *byte;
            i += 2;
        } else {
            if (!stays(text[i])) return std::nullopt;
            path += text[i];
        }
    }
    return std::filesystem::path(std::move(path));
}

}  // namespace tovri
