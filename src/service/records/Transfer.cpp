#include "service/records/Transfer.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "service/requests/ASCII.h"

namespace tovri {

bool Transfer::isActive() const {
    constexpr std::array<std::string_view, 4> active{"DOWNLOADING", "IN_QUEUE", "WAITING", "COMPLETING"};
    return status && std::ranges::find(active, asciiUppercased(*status)) != active.end();
}

}  // namespace tovri
