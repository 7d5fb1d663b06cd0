#include "downloads/list/FailedTry.h"

#include <utility>

namespace tovri {

std::shared_ptr<const FailedTries> keptTries(FailedTries tries) {
    if (tries.empty()) return nullptr;
    if (tries.size() > mostFailedTries)
        tries.erase(tries.begin(), tries.end() - static_cast<std::ptrdiff_t>(mostFailedTries));
    return std::make_shared<const FailedTries>(std::move(tries));
}

}  // namespace tovri
