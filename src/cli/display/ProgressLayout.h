#pragma once

#include <string>
#include <vector>

namespace tovri::cli {

// One running download or upload, as the display shows it. Texts may be empty.
struct ProgressRow {
    std::string name;  // printable
    double fraction = 0;
    std::string speed;
    std::string remaining;
    std::string state;  // instead of the bar, when no bytes are moving: "Waiting - file already exists"
};

struct ProgressTotal {
    std::size_t finished = 0;
    std::size_t count = 0;
    std::string sizes;  // "1.2 GB / 3.4 GB"
    std::string percent;
    std::string speed;
    std::string remaining;
};

struct ProgressPicture {
    std::vector<ProgressRow> rows;
    ProgressTotal total;
};

struct ProgressStyle {
    std::size_t columns = 80;
    std::size_t rows = 24;
    bool hasColor = false;
    bool hasUnicode = true;
};

// The lines of the live display, none wider than the terminal, not more than fit on it. The narrower the terminal, the
// fewer columns: the remaining time goes first, then the speed, then the bar.
[[nodiscard]] std::vector<std::string> layOut(const ProgressPicture& picture, const ProgressStyle& style);

}  // namespace tovri::cli
