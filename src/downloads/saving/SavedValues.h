#pragma once

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <simdjson.h>

#include "base/Bytes.h"
#include "base/Result.h"

// What the files have in common that the program keeps for itself, on their way in: strict reading, which names the
// value that is not what it should be.
namespace tovri::saved {

namespace json = simdjson::ondemand;

// Why a file is unreadable. Leaves decode() through its only catch: the failure is deep inside nested readers.
struct Unreadable {
    std::string reason;
};

// Values that many records of a file have in common, each kept once.
struct SharedValues {
    std::unordered_map<std::string, std::shared_ptr<const std::filesystem::path>> folders;  // by their URLs
    std::unordered_map<ByteBlob, std::shared_ptr<const ByteBlob>> blobs;
    std::unordered_map<std::string, std::shared_ptr<const std::string>> texts;
};

// One value of a file, as it is found under its key.
struct SavedValue {
    json::value& value;
    std::string_view key;
    SharedValues& shared;

    [[noreturn]] void reject(std::string_view expected) const {
        throw Unreadable{"\"" + std::string(key) + "\" is not " + std::string(expected)};
    }

    // Rejects it where it is no T, saying what was `expected`: "an integer".
    template <class T>
    [[nodiscard]] T as(std::string_view expected) const {
        T result{};
        if (value.get(result) != simdjson::SUCCESS) reject(expected);
        return result;
    }

    [[nodiscard]] std::string_view text() const { return as<std::string_view>("a string"); }

    [[nodiscard]] bool isNull() const {
        bool null = false;
        return value.is_null().get(null) == simdjson::SUCCESS && null;
    }
};

// The key as it stands in the text where it has no escapes. The parser keeps a copy of all that it unescapes, as long
// as it lives, and keys are a third of a long queue.
[[nodiscard]] inline std::string_view plainKey(simdjson::simdjson_result<json::field>& field) {
    const char* text = field.key().raw();
    const std::size_t length = std::strcspn(text, "\"\\");
    if (text[length] == '"') return {text, length};
    return field.unescaped_key();
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
