#pragma once

#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "base/Identifier.h"
#include "cli/display/DisplayText.h"

namespace tovri::cli {

// Writes one JSON text on one line, key by key. A text may be any bytes: what is no UTF-8 is replaced by U+FFFD, and
// what is not plain is escaped, so that it comes out exact and commands no terminal on its way.
class JSON {
public:
    JSON() : writer_(buffer_) {}

    JSON& beginObject() { return writer_.StartObject(), *this; }

    JSON& endObject() { return writer_.EndObject(), *this; }

    JSON& beginArray() { return writer_.StartArray(), *this; }

    JSON& endArray() { return writer_.EndArray(), *this; }

    JSON& key(std::string_view name) { return writer_.Key(name.data(), length(name)), *this; }

    JSON& text(std::string_view value) {
        const std::string unicode = unicodeText(value);
        return writer_.String(unicode.data(), length(unicode)), *this;
    }

    JSON& number(std::int64_t value) { return writer_.Int64(value), *this; }

    JSON& field(std::string_view name, std::string_view value) { return key(name).text(value); }

    JSON& field(std::string_view name, const char* value) { return key(name).text(value); }

    JSON& field(std::string_view name, std::int64_t value) { return key(name).number(value); }

    template <class Kind>
    JSON& field(std::string_view name, Identifier<Kind> id) {
        return field(name, id.number);
    }

    JSON& flag(std::string_view name, bool value) {
        return writer_.Key(name.data(), length(name)), writer_.Bool(value), *this;
    }

    [[nodiscard]] std::string line() const { return escapedJSON({buffer_.GetString(), buffer_.GetSize()}); }

private:
    static rapidjson::SizeType length(std::string_view text) { return static_cast<rapidjson::SizeType>(text.size()); }

    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> writer_;
};

}  // namespace tovri::cli
