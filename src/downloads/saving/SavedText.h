#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include <rapidjson/rapidjson.h>

#include "platform/FileManager.h"
#include "service/UTF8.h"

// What the files have in common that the program keeps for itself, on their way out. The way in is SavedValues.h.
namespace tovri::saved {

// On its way to a file in pieces, so that a long text never stands in memory whole. Puts a backslash before each slash:
// JSON has slashes inside strings only, so no state is needed.
class SlashEscapingText {
public:
    using Ch = char;

    explicit SlashEscapingText(const FileManager::Sink& sink) : sink_(sink) { piece_.reserve(pieceSize + 2); }

    void Put(char letter) {
        if (letter == '/') piece_ += '\\';
        piece_ += letter;
        if (piece_.size() >= pieceSize) handOn();
    }

    void Flush() {}

    // The rest, and the first failure of all.
    [[nodiscard]] Result<void> finish() {
        handOn();
        return std::move(outcome_);
    }

private:
    static constexpr std::size_t pieceSize = std::size_t{64} * 1024;

    void handOn() {
        if (outcome_) outcome_ = sink_(piece_);
        piece_.clear();
    }

    const FileManager::Sink& sink_;
    std::string piece_;
    Result<void> outcome_;
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
