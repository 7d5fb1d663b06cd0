#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "sandbox/account/Account.h"

namespace tovri::sandbox {

struct WrittenTree {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0;
    std::vector<std::string> skipped;  // what a disk cannot hold under its name, with the reason
};

// Writes everything that the account holds below the folder, to compare a download with. Throws std::runtime_error when
// the disk refuses.
WrittenTree writeTree(const Account& account, const std::filesystem::path& folder);

}  // namespace tovri::sandbox
