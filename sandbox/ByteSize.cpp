#include "sandbox/ByteSize.h"

#include <charconv>
#include <cmath>

namespace tovri::sandbox {
namespace {

std::optional<double> unitNamed(std::string_view unit) {
    if (unit.empty() || unit == "B") return 1;
    const std::size_t power = std::string_view("KMGT").find(unit[0] == 'k' ? 'K' : unit[0]);
    if (power == std::string_view::npos) return std::nullopt;
    const std::string_view rest = unit.substr(1);
    const auto exponent = static_cast<double>(power + 1);
    if (rest.empty() || rest == "iB") return std::pow(1024, exponent);
    if (rest == "B") return std::pow(1000, exponent);
    return std::nullopt;
}

}  // namespace

std::optional<std::uint64_t> parseByteSize(std::string_view text) {
    double number = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (parsed.ec != std::errc{} || !(number >= 0)) return std::nullopt;
    std::string_view unit(parsed.ptr, static_cast<std::size_t>(end - parsed.ptr));
    while (!unit.empty() && unit.front() == ' ') unit.remove_prefix(1);
    const std::optional<double> factor = unitNamed(unit);
    if (!factor || !(number * *factor < 0x1p62)) return std::nullopt;
    return static_cast<std::uint64_t>(number * *factor);
}

}  // namespace tovri::sandbox
