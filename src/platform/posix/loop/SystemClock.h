#pragma once

#include "platform/WallClock.h"

namespace tovri {

class SystemClock final : public WallClock {
public:
    [[nodiscard]] Timestamp now() const override { return std::chrono::system_clock::now(); }

    [[nodiscard]] std::string bootID() const override;
    [[nodiscard]] std::chrono::seconds offsetFromUTC(Timestamp moment) const override;
};

}  // namespace tovri
