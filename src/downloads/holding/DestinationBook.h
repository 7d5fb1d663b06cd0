#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "downloads/holding/DestinationFacts.h"

namespace tovri {

// Which volume each destination was on when the first file was placed there. So a disk that is not mounted, or another
// one in its place, is noticed before anything is written beneath its mount point. Knows no file: encode and decode
// turn it to text and back.
class DestinationBook {
public:
    // A folder, and the volume on which everything below it is expected, but for what is mounted below it.
    struct Entry {
        std::filesystem::path folder;
        std::filesystem::path mountPoint;  // where the volume was, for people
        std::string identity;
    };

    static constexpr std::size_t most = 256;  // entries; the oldest go first

    // The entry that something at the folder contradicts, or null.
    [[nodiscard]] const Entry* contradiction(const std::filesystem::path& folder, const DestinationFacts& facts) const;

    // A file has its place at the folder. `facts` are from before that. Whether this was news.
    bool note(const std::filesystem::path& folder, const DestinationFacts& facts);

    // The user wants what is below the folder to go where it would go now.
    void accept(const std::filesystem::path& folder, const DestinationFacts& facts);

    [[nodiscard]] std::string encode() const;

    // Leaves out what cannot be read.
    [[nodiscard]] static DestinationBook decode(std::string_view text);

private:
    [[nodiscard]] bool knows(const std::filesystem::path& folder, const std::string& identity) const;
    void add(Entry entry);

    std::vector<Entry> entries_;  // the oldest first
};

}  // namespace tovri
