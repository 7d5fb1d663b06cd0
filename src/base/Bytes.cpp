#include "base/Bytes.h"

#include <array>

namespace tovri {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr auto valueOfLetter = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    return values;
}();

}  // namespace

BytesPerSecond rateOf(ByteCount bytes, std::chrono::duration<double> time) {
    if (time.count() <= 0) return {};
    return BytesPerSecond(static_cast<std::int64_t>(static_cast<double>(bytes) / time.count()));
}

std::chrono::duration<double> timeFor(ByteCount bytes, BytesPerSecond rate) {
    return std::chrono::duration<double>(static_cast<double>(bytes) / static_cast<double>(rate.count));
}

std::string base64Encoded(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t present = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8U | (k < present ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k) text += k <= present ? alphabet[group >> (18U - 6U * k) & 63U] : '=';
    }
    return text;
}

std::optional<ByteBlob> base64Decoded(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t padding = 0;
    while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') ++padding;

    ByteBlob bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    unsigned bits = 0;
    for (const char letter : text.substr(0, text.size() - padding)) {
        const int value = valueOfLetter[static_cast<unsigned char>(letter)];
        if (value < 0) return std::nullopt;
        group = group << 6U | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(group >> bits & 255U);
        }
    }
    return bytes;
}

}  // namespace tovri
