#pragma once

#include <cstdint>
#include <optional>

namespace tovri::sandbox {

class Account;

// What a generated account holds: one folder "Generated" with nested folders below it.
struct GeneratedAccountSettings {
    std::uint64_t seed = 1;
    std::uint64_t files = 200;
    std::optional<std::uint64_t> folders = std::nullopt;  // none: about one per twelve files
    std::uint64_t minSize = 0;
    std::uint64_t maxSize = 4ULL << 20;
    bool hasAwkwardNames = false;
};

// The same settings give the same tree, with the same bytes in it. Sizes are spread evenly over the orders of
// magnitude; the smallest and the largest size both occur.
void generateAccount(Account& account, const GeneratedAccountSettings& settings);

}  // namespace tovri::sandbox
