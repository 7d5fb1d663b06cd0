#include "base/UUID.h"

namespace tovri {
namespace {

constexpr bool hasHyphenBefore(std::size_t byte) {
    return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

constexpr int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
    return -1;
}

}  // namespace

std::string UUID::text() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (hasHyphenBefore(i)) text += '-';
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 15U];
    }
    return text;
}

std::optional<UUID> UUID::parse(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    UUID id;
    std::size_t at = 0;
    for (std::size_t i = 0; i < id.bytes.size(); ++i) {
        if (hasHyphenBefore(i) && text[at++] != '-') return std::nullopt;
        const int high = digitValue(text[at++]);
        const int low = digitValue(text[at++]);
        if (high < 0 || low < 0) return std::nullopt;
        id.bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return id;
}

}  // namespace tovri
