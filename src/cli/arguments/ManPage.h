#pragma once

#include <string>
#include <string_view>

namespace tovri::cli {

// The manual page tovri-cli(1), in the man macros of roff (man(7)).
[[nodiscard]] std::string manPage(std::string_view version);

}  // namespace tovri::cli
