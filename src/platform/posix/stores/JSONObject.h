#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// The members of a JSON object, each as the JSON text it was read from, so that what this program does not know
// survives a rewrite. Besides JSON's own kinds there are two: bytes are {"base64": "…"}, and a string that is not
// UTF-8, as a path may be, is {"base64Text": "…"}.
class JSONObject {
public:
    // None for anything but one well-formed JSON object.
    [[nodiscard]] static std::optional<JSONObject> parse(std::string_view text);

    // One member per line, sorted by key.
    [[nodiscard]] std::string text() const;

    // None when the member is absent or of another kind.
    [[nodiscard]] std::optional<std::string> string(std::string_view key) const;
    [[nodiscard]] std::optional<bool> boolean(std::string_view key) const;
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;
    [[nodiscard]] std::optional<ByteBlob> data(std::string_view key) const;

    void setString(std::string_view key, std::string_view value);
    void setBoolean(std::string_view key, bool value);
    void setInteger(std::string_view key, std::int64_t value);
    void setData(std::string_view key, std::string_view bytes);
    void remove(std::string_view key);

    // Takes over the member of the other object, or its absence.
    void copyMember(std::string_view key, const JSONObject& other);

private:
    std::map<std::string, std::string, std::less<>> members_;
};

}  // namespace tovri
