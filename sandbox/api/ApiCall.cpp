#include "sandbox/api/ApiCall.h"

#include <algorithm>
#include <charconv>

namespace tovri::sandbox {

std::optional<std::int64_t> parseID(std::string_view text) {
    std::int64_t id = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), id);
    if (parsed.ec != std::errc{} || parsed.ptr != text.data() + text.size()) return std::nullopt;
    return id;
}

std::optional<std::int64_t> ApiCall::number(std::string_view name) const {
    return parseID(text(name));
}

std::vector<std::int64_t> ApiCall::numbers(std::string_view name) const {
    std::vector<std::int64_t> numbers;
    std::string_view rest = text(name);
    while (!rest.empty()) {
        const std::string_view one = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), one.size() + 1));
        if (const auto id = parseID(one)) numbers.push_back(*id);
    }
    return numbers;
}

}  // namespace tovri::sandbox
