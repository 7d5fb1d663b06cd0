#pragma once

#include <expected>
#include <utility>

#include "base/Error.h"

namespace tovri {

// A value, or the Error that kept it away.
template <class T>
using Result = std::expected<T, Error>;

// Passes a failure on under another value type: `if (!listing) co_return failure(listing);`
template <class T>
[[nodiscard]] std::unexpected<Error> failure(Result<T>& result) {
    return std::unexpected(std::move(result.error()));
}

[[nodiscard]] inline std::unexpected<Error> failure(Error error) {
    return std::unexpected(std::move(error));
}

}  // namespace tovri
