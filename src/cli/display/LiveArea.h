#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tovri::cli {

// Lines at the end of a terminal's output that are drawn over and over. Makes the control sequences (ECMA-48) and keeps
// what stands there; writes nothing itself. The cursor rests at the beginning of the line below.
class LiveArea {
public:
    [[nodiscard]] bool isEmpty() const { return lines_.empty(); }

    [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }

    // What to write so that `lines` stand there instead, on a terminal of `columns`.
    [[nodiscard]] std::string replace(std::vector<std::string> lines, std::size_t columns);

    // What to write so that `text`, whole lines, stands above.
    [[nodiscard]] std::string insertAbove(std::string_view text, std::size_t columns);

private:
    [[nodiscard]] std::string toTop(std::size_t columns) const;
    [[nodiscard]] std::string drawn() const;

    std::vector<std::string> lines_;
};

}  // namespace tovri::cli
