#pragma once

#include <functional>
#include <optional>

#include "base/Bytes.h"

namespace tovri {

// How many of its bytes one transfer may move now. Its operations run on any thread, and never block.
class ByteAllowance {
public:
    virtual ~ByteAllowance() = default;

    // At most `wanted`, which is positive; 0: none now.
    [[nodiscard]] virtual ByteCount take(ByteCount wanted) = 0;

    // What was taken and has not moved.
    virtual void giveBack(ByteCount unused) = 0;

    // The most that will be given in the long run; none: any number.
    [[nodiscard]] virtual std::optional<BytesPerSecond> pace() const = 0;

    // After a take of less than was wanted: calls `ready` once, on any thread, as soon as there is more.
    virtual void whenReady(std::move_only_function<void()> ready) = 0;
};

}  // namespace tovri
