#pragma once

#include <string_view>

namespace tovri {

[[nodiscard]] bool isUTF8(std::string_view bytes);

}  // namespace tovri
