#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// CRC-32 as put.io gives it for its files (ISO 3309, as in zip), over bytes that come piece by piece.
class Checksum {
public:
    Checksum() = default;

    // Goes on from the checksum of what came before.
    explicit Checksum(std::uint32_t value) : value_(value) {}

    void add(std::string_view bytes);

    [[nodiscard]] std::uint32_t value() const { return value_; }

    // Eight lower-case hexadecimal digits.
    [[nodiscard]] std::string text() const;

    // One to eight hexadecimal digits in either case, as the service writes them; none for anything else.
    [[nodiscard]] static std::optional<Checksum> parse(std::string_view digits);

    bool operator==(const Checksum&) const = default;

private:
    std::uint32_t value_ = 0;
};

}  // namespace tovri
