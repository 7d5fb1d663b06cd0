#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace tovri::sandbox {

// Writes one JSON text, value after value. Bytes of strings go out as they are, also those that are no valid UTF-8.
class JsonWriter {
public:
    JsonWriter& beginObject() { return writer_.StartObject(), *this; }

    JsonWriter& endObject() { return writer_.EndObject(), *this; }

    JsonWriter& beginArray() { return writer_.StartArray(), *this; }

    JsonWriter& endArray() { return writer_.EndArray(), *this; }

    JsonWriter& key(std::string_view name) {
        return writer_.Key(name.data(), static_cast<rapidjson::SizeType>(name.size())), *this;
    }

    JsonWriter& value(std::string_view text) {
        return writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size())), *this;
    }

    JsonWriter& value(const char* text) { return value(std::string_view(text)); }

    JsonWriter& value(const std::string& text) { return value(std::string_view(text)); }

    JsonWriter& value(std::same_as<bool> auto yes) { return writer_.Bool(yes), *this; }

    JsonWriter& value(double number) { return writer_.Double(number), *this; }

    template <std::integral Number>
        requires(!std::same_as<Number, bool>)
    JsonWriter& value(Number number) {
        if constexpr (std::signed_integral<Number>) {
            writer_.Int64(number);
        } else {
            writer_.Uint64(number);
        }
        return *this;
    }

    JsonWriter& null() { return writer_.Null(), *this; }

    // None is written as null.
    template <class Value>
    JsonWriter& value(const std::optional<Value>& optional) {
        return optional ? value(*optional) : null();
    }

    template <class Value>
    JsonWriter& field(std::string_view name, const Value& fieldValue) {
        return key(name).value(fieldValue);
    }

    JsonWriter& nullField(std::string_view name) { return key(name).null(); }

    std::string text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

private:
    rapidjson::StringBuffer buffer_;
    rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

}  // namespace tovri::sandbox
