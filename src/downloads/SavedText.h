#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <rapidjson/rapidjson.h>

#include "service/UTF8.h"

// What the files have in common that the program keeps for itself, on their way out. The way in is SavedValues.h.
namespace tovri::saved {

// Puts a backslash before each slash. JSON has slashes inside strings only, so no state is needed.
class SlashEscapingText {
public:
    using Ch = char;

    void Put(char letter) {
        if (letter == '/') text_ += '\\';
        text_ += letter;
    }

    void Flush() {}

    void reserve(std::size_t size) { text_.reserve(size); }

    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

// Text that may name a local file whose name is not UTF-8; a file with such bytes would be refused when it is read.
[[nodiscard]] inline std::string readable(std::string text) {
    if (!isUTF8(text))
        std::ranges::replace_if(text, [](char letter) { return static_cast<unsigned char>(letter) >= 0x80; }, '?');
    return text;
}

template <class Writer>
void writeKey(Writer& json, std::string_view key) {
    json.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

template <class Writer>
void writeMember(Writer& json, std::string_view key, std::string_view text) {
    writeKey(json, key);
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <class Writer>
void writeMember(Writer& json, std::string_view key, std::int64_t number) {
    writeKey(json, key);
    json.Int64(number);
}

template <class Writer>
void writeFlag(Writer& json, std::string_view key, bool value) {
    writeKey(json, key);
    json.Bool(value);
}

}  // namespace tovri::saved
