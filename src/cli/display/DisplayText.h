#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tovri::cli {

// Any bytes as text that changes nothing but the cells that it fills: control characters, marks that reverse the
// writing direction and what is no UTF-8 are replaced by U+FFFD.
[[nodiscard]] std::string printable(std::string_view bytes);

// Any bytes as text that JSON can hold: what is no UTF-8 is replaced by U+FFFD.
[[nodiscard]] std::string unicodeText(std::string_view bytes);

// A JSON text with every character that is not plain as its escape; they stand only in its strings.
[[nodiscard]] std::string escapedJSON(std::string_view json);

// How many columns a printable text takes: East Asian characters take two, combining marks none.
[[nodiscard]] std::size_t columnsOf(std::string_view text);

// The printable text, without its middle when it is wider than `columns`: the end of a file's name says its type.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t columns);

// Exactly `columns` wide: shortened, or filled with blanks at its end or at its beginning.
[[nodiscard]] std::string leftAligned(std::string_view text, std::size_t columns);
[[nodiscard]] std::string rightAligned(std::string_view text, std::size_t columns);

}  // namespace tovri::cli
