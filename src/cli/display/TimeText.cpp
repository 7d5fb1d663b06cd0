#include "cli/display/TimeText.h"

#include <chrono>

#include <fmt/chrono.h>

namespace tovri::cli {

std::string timeText(Timestamp time) {
    return fmt::format("{:%FT%TZ}", std::chrono::floor<std::chrono::seconds>(time));
}

}  // namespace tovri::cli
