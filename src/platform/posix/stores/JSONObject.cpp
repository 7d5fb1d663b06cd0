#include "platform/posix/stores/JSONObject.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

namespace tovri {
namespace {

constexpr std::string_view bytesMark = "base64";
constexpr std::string_view textMark = "base64Text";

std::string jsonText(std::string_view text) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    return {buffer.GetString(), buffer.GetSize()};
}

std::string marked(std::string_view mark, std::string_view bytes) {
    return "{" + jsonText(mark) + ": " + jsonText(base64Encoded(bytes)) + "}";
}

// Calls `read` with the value that the text stands for.
template <class T, class Read>
std::optional<T> valueOf(const std::string* text, Read read) {
    if (text == nullptr) return std::nullopt;
    simdjson::dom::parser parser;
    simdjson::dom::element element;
    if (parser.parse(*text).get(element) != simdjson::SUCCESS) return std::nullopt;
    return read(element);
}

std::optional<ByteBlob> markedBytes(const simdjson::dom::element& element, std::string_view mark) {
    simdjson::dom::object object;
    std::string_view encoded;
    if (element.get_object().get(object) != simdjson::SUCCESS || object.size() != 1) return std::nullopt;
    if (object.at_key(mark).get_string().get(encoded) != simdjson::SUCCESS) return std::nullopt;
    return base64Decoded(encoded);
}

template <class Members>
const std::string* find(const Members& members, std::string_view key) {
    const auto found = members.find(key);
    return found == members.end() ? nullptr : &found->second;
}

}  // namespace

std::optional<JSONObject> JSONObject::parse(std::string_view text) {
    simdjson::dom::parser parser;
    simdjson::dom::object members;
    if (parser.parse(simdjson::padded_string(text)).get_object().get(members) != simdjson::SUCCESS) return std::nullopt;
    JSONObject object;
    for (const auto& [key, value] : members)
        object.members_.insert_or_assign(std::string(key), simdjson::minify(value));
    return object;
}

std::string JSONObject::text() const {
    std::string text = "{";
    for (const auto& [key, value] : members_)
        text += (text.size() > 1 ? ",\n  " : "\n  ") + jsonText(key) + ": " + value;
    return text + (members_.empty() ? "}\n" : "\n}\n");
}

std::optional<std::string> JSONObject::string(std::string_view key) const {
    return valueOf<std::string>(find(members_, key), [](const simdjson::dom::element& element) {
        std::string_view text;
        if (element.get_string().get(text) == simdjson::SUCCESS) return std::optional(std::string(text));
        return markedBytes(element, textMark);
    });
}

std::optional<bool> JSONObject::boolean(std::string_view key) const {
    return valueOf<bool>(find(members_, key), [](const simdjson::dom::element& element) {
        bool value = false;
        return element.get_bool().get(value) == simdjson::SUCCESS ? std::optional(value) : std::nullopt;
    });
}

std::optional<std::int64_t> JSONObject::integer(std::string_view key) const {
    return valueOf<std::int64_t>(find(members_, key), [](const simdjson::dom::element& element) {
        std::int64_t value = 0;
        return element.get_int64().get(value) == simdjson::SUCCESS ? std::optional(value) : std::nullopt;
    });
}

std::optional<ByteBlob> JSONObject::data(std::string_view key) const {
    return valueOf<ByteBlob>(find(members_, key),
                             [](const simdjson::dom::element& element) { return markedBytes(element, bytesMark); });
}

void JSONObject::setString(std::string_view key, std::string_view value) {
    const bool isText = simdjson::validate_utf8(value.data(), value.size());
    members_[std::string(key)] = isText ? jsonText(value) : marked(textMark, value);
}

void JSONObject::setBoolean(std::string_view key, bool value) {
    members_[std::string(key)] = value ? "true" : "false";
}

void JSONObject::setInteger(std::string_view key, std::int64_t value) {
    members_[std::string(key)] = std::to_string(value);
}

void JSONObject::setData(std::string_view key, std::string_view bytes) {
    members_[std::string(key)] = marked(bytesMark, bytes);
}

void JSONObject::remove(std::string_view key) {
    if (const auto found = members_.find(key); found != members_.end()) members_.erase(found);
}

void JSONObject::copyMember(std::string_view key, const JSONObject& other) {
    if (const std::string* const value = find(other.members_, key)) {
        members_[std::string(key)] = *value;
    } else {
        remove(key);
    }
}

}  // namespace tovri
