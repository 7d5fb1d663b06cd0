#include "downloads/partials/Checksum.h"

#include <charconv>

#include <libdeflate.h>

namespace tovri {

void Checksum::add(std::string_view bytes) {
    value_ = libdeflate_crc32(value_, bytes.data(), bytes.size());
}

std::string Checksum::text() const {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text(8, '0');
    std::uint32_t rest = value_;
    for (std::size_t i = text.size(); i-- > 0; rest >>= 4U) text[i] = digits[rest & 0xFU];
    return text;
}

std::optional<Checksum> Checksum::parse(std::string_view digits) {
    constexpr int hexadecimal = 16;
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, hexadecimal);
    if (digits.size() > 8 || error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return Checksum(value);
}

}  // namespace tovri
