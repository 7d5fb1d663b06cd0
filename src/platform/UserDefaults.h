#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// The user's settings by key, written through at once. A key that is absent or holds another type reads as none. Write
// failures are silent.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    [[nodiscard]] virtual std::optional<std::string> string(std::string_view key) = 0;
    [[nodiscard]] virtual std::optional<bool> boolean(std::string_view key) = 0;
    [[nodiscard]] virtual std::optional<std::int64_t> integer(std::string_view key) = 0;
    [[nodiscard]] virtual std::optional<ByteBlob> data(std::string_view key) = 0;

    virtual void setString(std::string_view key, std::string_view value) = 0;
    virtual void setBoolean(std::string_view key, bool value) = 0;
    virtual void setInteger(std::string_view key, std::int64_t value) = 0;
    virtual void setData(std::string_view key, std::string_view bytes) = 0;
    virtual void remove(std::string_view key) = 0;
};

}  // namespace tovri
