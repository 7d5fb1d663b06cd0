#pragma once

#include <cstddef>

namespace tovri::test {

// What this process has taken from the heap by `new` and not given back.
[[nodiscard]] std::ptrdiff_t heldBytes();

}  // namespace tovri::test
