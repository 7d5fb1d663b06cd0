#include "sandbox/api/Fields.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>

namespace tovri::sandbox {
namespace {

constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";

std::string decodeFormText(std::string_view text) {
    std::string spaced(text);
    std::ranges::replace(spaced, '+', ' ');
    return percentDecode(spaced);
}

}  // namespace

std::string percentEncode(std::string_view text) {
    std::string encoded;
    for (const char c : text) {
        if (unreserved.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            encoded += fmt::format("%{:02X}", static_cast<unsigned char>(c));
        }
    }
    return encoded;
}

std::string percentDecode(std::string_view text) {
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned value = 0;
        if (text[at] == '%' && at + 2 < text.size()) {
            const char* digits = text.data() + at + 1;
            const auto parsed = std::from_chars(digits, digits + 2, value, 16);
            if (parsed.ec == std::errc{} && parsed.ptr == digits + 2) {
                decoded += static_cast<char>(value);
                at += 2;
                continue;
            }
        }
        decoded += text[at];
    }
    return decoded;
}

Fields parseFields(std::string_view encoded) {
    Fields fields;
    while (!encoded.empty()) {
        const std::string_view pair = encoded.substr(0, encoded.find('&'));
        encoded.remove_prefix(std::min(encoded.size(), pair.size() + 1));
        if (pair.empty()) continue;
        const std::size_t equals = pair.find('=');
        const std::string_view value = equals == std::string_view::npos ? "" : pair.substr(equals + 1);
        fields[decodeFormText(pair.substr(0, equals))] = decodeFormText(value);
    }
    return fields;
}

std::optional<std::string_view> valueOf(const Fields& fields, std::string_view name) {
    const auto found = fields.find(name);
    if (found == fields.end()) return std::nullopt;
    return found->second;
}

}  // namespace tovri::sandbox
