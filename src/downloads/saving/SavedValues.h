#pragma once

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include <simdjson.h>

#include "base/Bytes.h"
#include "base/Result.h"
#include "base/UUID.h"
#include "downloads/saving/SavedDate.h"

// What the files have in common that the program keeps for itself, on their way in: strict readers, which name the
// value that is not what it should be.
namespace tovri::saved {

namespace json = simdjson::ondemand;

// Why a file is unreadable. Leaves decode() through its only catch: the failure is deep inside nested readers.
struct Unreadable {
    std::string reason;
};

[[noreturn]] inline void reject(std::string_view key, std::string_view expected) {
    throw Unreadable{"\"" + std::string(key) + "\" is not " + std::string(expected)};
}

template <class T>
[[nodiscard]] T read(json::value& value, std::string_view key, std::string_view expected) {
    T result{};
    if (value.get(result) != simdjson::SUCCESS) reject(key, expected);
    return result;
}

[[nodiscard]] inline std::string_view readText(json::value& value, std::string_view key) {
    return read<std::string_view>(value, key, "a string");
}

[[nodiscard]] inline std::int64_t readInteger(json::value& value, std::string_view key) {
    return read<std::int64_t>(value, key, "an integer");
}

[[nodiscard]] inline bool readFlag(json::value& value, std::string_view key) {
    return read<bool>(value, key, "a boolean");
}

[[nodiscard]] inline UUID readUUID(json::value& value, std::string_view key) {
    const auto id = UUID::parse(readText(value, key));
    if (!id) reject(key, "a UUID");
    return *id;
}

[[nodiscard]] inline ByteBlob readBlob(json::value& value, std::string_view key) {
    auto bytes = base64Decoded(readText(value, key));
    if (!bytes) reject(key, "base64");
    return std::move(*bytes);
}

[[nodiscard]] inline Timestamp readDate(json::value& value, std::string_view key) {
    return timestamp(read<double>(value, key, "a number"));
}

[[nodiscard]] inline bool isNull(json::value& value) {
    bool null = false;
    return value.is_null().get(null) == simdjson::SUCCESS && null;
}

// The key as it stands in the text where it has no escapes. The parser keeps a copy of all that it unescapes, as long
// as it lives, and keys are a third of a long queue.
[[nodiscard]] inline std::string_view plainKey(simdjson::simdjson_result<json::field>& field) {
    const char* text = field.key().raw();
    const std::size_t length = std::strcspn(text, "\"\\");
    if (text[length] == '"') return {text, length};
    return field.unescaped_key();
}

// Each member of a record goes to `readRequired(key, value)` or, unless it is null, to `readOptional(key, value)`. None
// of the required ones may be missing; `record` is what is said to have no such member: "an item".
template <std::size_t size, class ReadRequired, class ReadOptional>
void readMembers(json::object object, const std::string& record, const std::array<std::string_view, size>& requiredKeys,
                 const ReadRequired& readRequired, const ReadOptional& readOptional) {
    std::bitset<size> found;
    for (auto field : object) {
        const std::string_view key = plainKey(field);
        json::value value = field.value();
        const auto required = std::ranges::find(requiredKeys, key);
        if (required != requiredKeys.end()) {
            found.set(static_cast<std::size_t>(required - requiredKeys.begin()));
            readRequired(key, value);
        } else if (!isNull(value)) {
            readOptional(key, value);
        }
    }
    for (std::size_t i = 0; i < size; ++i)
        if (!found[i]) throw Unreadable{record + " has no \"" + std::string(requiredKeys[i]) + "\""};
}

// `readDocument(json::document&)`, or ErrorCase::decoding when that throws or anything follows. `file` is what the text
// is called: "queue file".
template <class T, class Read>
[[nodiscard]] Result<T> decode(ByteBlob text, const std::string& file, Read readDocument) {
    text.reserve(text.size() + simdjson::SIMDJSON_PADDING);
    try {
        json::parser parser;
        json::document document = parser.iterate(text.data(), text.size(), text.capacity());
        T result = readDocument(document);
        if (const char* rest = nullptr; document.current_location().get(rest) == simdjson::SUCCESS)
            throw Unreadable{"something follows the end"};
        return result;
    } catch (const Unreadable& unreadable) {
        return failure(Error(ErrorCase::decoding, "The " + file + " is damaged: " + unreadable.reason + "."));
    } catch (const simdjson::simdjson_error& error) {
        return failure(Error(ErrorCase::decoding, "The " + file + " is not JSON: " + error.what()));
    }
}

}  // namespace tovri::saved
