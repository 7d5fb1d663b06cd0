#include "service/records/JSONCoding.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <vector>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include "service/PutIOAPI.h"
#include "service/records/PutIOAccount.h"
#include "service/records/PutIOFileList.h"
#include "service/records/RSSFeed.h"
#include "service/records/ReadableJSON.h"
#include "service/records/Transfer.h"
#include "service/requests/ServiceRefusal.h"

namespace tovri {
namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

// Where a decode went wrong. The path grows from its end while the failure travels outwards.
struct Mismatch {
    std::string path;
    std::string_view expected;
    std::string_view found;

    bool set(std::string_view expectedKind, std::string_view foundKind) {
        expected = expectedKind;
        found = foundKind;
        return false;
    }

    void prepend(std::string_view step) {
        const bool needsDot = !path.empty() && !path.starts_with('[');
        path = std::string(step) + (needsDot ? "." : "") + path;
    }
};

std::string_view kindOf(element value) {
    switch (value.type()) {
        case element_type::ARRAY:
            return "an array";
        case element_type::OBJECT:
            return "an object";
        case element_type::INT64:
            return "a number";
        case element_type::UINT64:
            return "a larger number";
        case element_type::DOUBLE:
            return "a fractional number";
        case element_type::STRING:
            return "a string";
        case element_type::BOOL:
            return "a truth value";
        case element_type::NULL_VALUE:
            return "null";
    }
    return "something else";
}

template <class T>
struct IsOptional : std::false_type {};

template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class T>
struct IsIdentifier : std::false_type {};

template <class Kind>
struct IsIdentifier<Identifier<Kind>> : std::true_type {};

template <class T>
constexpr std::string_view expectedKind() {
    if constexpr (std::is_same_v<T, std::int64_t> || IsIdentifier<T>::value || std::is_same_v<T, BytesPerSecond>)
        return "a 64-bit integer";
    if constexpr (std::is_same_v<T, double>) return "a number";
    if constexpr (std::is_same_v<T, bool>) return "true or false";
    if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, PutIOFile::FileType>) return "a string";
    if constexpr (requires { typename T::value_type; }) return "an array";
    return "an object";
}

bool decodeScalar(element from, std::string& to) {
    std::string_view text;
    if (from.get(text) != simdjson::SUCCESS) return false;
    to = text;
    return true;
}

bool decodeScalar(element from, std::int64_t& to) {
    if (from.get(to) == simdjson::SUCCESS) return true;
    // Whole numbers in another spelling, 3.0 or 1e3, up to where the reader may have rounded them.
    constexpr double exactBelow = 9007199254740992.0;
    double number = 0;
    if (!from.is_double() || from.get(number) != simdjson::SUCCESS) return false;
    if (std::abs(number) >= exactBelow || std::trunc(number) != number) return false;
    to = static_cast<std::int64_t>(number);
    return true;
}

template <class Kind>
bool decodeScalar(element from, Identifier<Kind>& to) {
    return decodeScalar(from, to.number);
}

bool decodeScalar(element from, BytesPerSecond& to) {
    return decodeScalar(from, to.count);
}

bool decodeScalar(element from, double& to) {
    return from.get(to) == simdjson::SUCCESS;
}

bool decodeScalar(element from, bool& to) {
    return from.get(to) == simdjson::SUCCESS;
}

bool decodeScalar(element from, PutIOFile::FileType& to) {
    std::string_view word;
    if (from.get(word) != simdjson::SUCCESS) return false;
    to = fileTypeOf(word);
    return true;
}

template <class T>
bool decodeValue(element from, T& to, Mismatch& mismatch);

template <class T>
bool decodeValue(element from, std::optional<T>& to, Mismatch& mismatch) {
    if (from.is_null()) {
        to.reset();
        return true;
    }
    return decodeValue(from, to.emplace(), mismatch);
}

template <class T>
bool decodeValue(element from, std::vector<T>& to, Mismatch& mismatch) {
    simdjson::dom::array array;
    if (from.get(array) != simdjson::SUCCESS) return mismatch.set(expectedKind<std::vector<T>>(), kindOf(from));
    to.clear();
    to.reserve(array.size());
    for (const element entry : array) {
        if (!decodeValue(entry, to.emplace_back(), mismatch)) {
            mismatch.prepend("[" + std::to_string(to.size() - 1) + "]");
            return false;
        }
    }
    return true;
}

template <class Record>
bool decodeRecord(element from, Record& to, Mismatch& mismatch) {
    simdjson::dom::object object;
    if (from.get(object) != simdjson::SUCCESS) return mismatch.set(expectedKind<Record>(), kindOf(from));
    return std::apply(
        [&](const auto&... field) {
            std::array<bool, sizeof...(field)> isPresent{};
            const auto decodeField = [&](const auto& one, element value) {
                if (decodeValue(value, to.*one.member, mismatch)) return true;
                mismatch.prepend(one.key);
                return false;
            };
            for (const auto [key, value] : object) {
                std::size_t i = 0;
                bool isGood = true;
                // Stops at the field whose key this is, if there is one.
                static_cast<void>(((key == field.key ? (isPresent[i] = true, isGood = decodeField(field, value), true)
                                                     : (++i, false)) ||
                                   ...));
                if (!isGood) return false;
            }
            const auto isThere = [&](const auto& one, bool present) {
                using Value = std::remove_reference_t<decltype(to.*one.member)>;
                if (present || IsOptional<Value>::value) return true;
                mismatch.prepend(one.key);
                return mismatch.set(expectedKind<Value>(), "missing");
            };
            std::size_t i = 0;
            return (isThere(field, isPresent[i++]) && ...);
        },
        Record::jsonFields());
}

template <class T>
bool decodeValue(element from, T& to, Mismatch& mismatch) {
    if constexpr (requires { T::jsonFields(); })
        return decodeRecord(from, to, mismatch);
    else
        return decodeScalar(from, to) || mismatch.set(expectedKind<T>(), kindOf(from));
}

Error decodingError(std::string_view problem) {
    return {ErrorCase::decoding, std::string("Unexpected answer from put.io: ").append(problem) + "."};
}

std::string_view problemOf(simdjson::error_code code) {
    if (code == simdjson::EMPTY) return "it is empty";
    if (code == simdjson::UTF8_ERROR) return "it is not UTF-8";
    return "it is not JSON";
}

std::string problemOf(const Mismatch& mismatch) {
    std::string problem = mismatch.path.empty() ? "it" : "\"" + mismatch.path + "\"";
    return problem.append(" should be ").append(mismatch.expected).append(" but is ").append(mismatch.found);
}

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

void writeString(Writer& writer, std::string_view text) {
    writer.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

template <class T>
void writeField(Writer& writer, std::string_view key, const T& value);

template <class T>
void writeValue(Writer& writer, const T& value) {
    if constexpr (std::is_same_v<T, std::string>) {
        writeString(writer, value);
    } else if constexpr (std::is_same_v<T, PutIOFile::FileType>) {
        writeString(writer, rawValue(value));
    } else if constexpr (std::is_same_v<T, bool>) {
        writer.Bool(value);
    } else if constexpr (std::is_same_v<T, std::int64_t>) {
        writer.Int64(value);
    } else if constexpr (IsIdentifier<T>::value) {
        writer.Int64(value.number);
    } else if constexpr (std::is_same_v<T, BytesPerSecond>) {
        writer.Int64(value.count);
    } else if constexpr (std::is_same_v<T, double>) {
        writer.Double(value);
    } else if constexpr (requires { T::jsonFields(); }) {
        writer.StartObject();
        std::apply([&](const auto&... field) { (writeField(writer, field.key, value.*field.member), ...); },
                   T::jsonFields());
        writer.EndObject();
    } else {
        writer.StartArray();
        for (const auto& entry : value) writeValue(writer, entry);
        writer.EndArray();
    }
}

template <class T>
void writeField(Writer& writer, std::string_view key, const T& value) {
    if constexpr (IsOptional<T>::value) {
        if (value) writeField(writer, key, *value);
    } else {
        writer.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
        writeValue(writer, value);
    }
}

}  // namespace

template <class Record>
Result<Record> decodeJSON(std::string_view text) {
    simdjson::dom::parser parser;
    element root;
    simdjson::error_code code = parser.parse(text.data(), text.size()).get(root);
    if (code != simdjson::SUCCESS && code != simdjson::EMPTY && code != simdjson::UTF8_ERROR) {
        // Deeper than any listed value, there may be arrays within arrays.
        const std::string readable = readableJSON(text);
        if (parser.allocate(readable.size(), readable.size() + 1) == simdjson::SUCCESS)
            code = parser.parse(readable).get(root);
    }
    if (code != simdjson::SUCCESS) return failure(decodingError(problemOf(code)));
    Record record;
    Mismatch mismatch;
    if (!decodeRecord(root, record, mismatch)) return failure(decodingError(problemOf(mismatch)));
    return record;
}

template <class Record>
std::string encodeJSON(const Record& record) {
    rapidjson::StringBuffer buffer;
    Writer writer(buffer);
    writeValue(writer, record);
    return {buffer.GetString(), buffer.GetSize()};
}

#define TOVRI_JSON_RECORD(Record)                                 \
    template Result<Record> decodeJSON<Record>(std::string_view); \
    template std::string encodeJSON<Record>(const Record&)

TOVRI_JSON_RECORD(PutIOFile);
TOVRI_JSON_RECORD(PutIOFileList);
TOVRI_JSON_RECORD(PutIOAccount);
TOVRI_JSON_RECORD(PutIOAccountResponse);
TOVRI_JSON_RECORD(Transfer);
TOVRI_JSON_RECORD(TransferListResponse);
TOVRI_JSON_RECORD(TransferAddResponse);
TOVRI_JSON_RECORD(TransferStarted);
TOVRI_JSON_RECORD(RSSFeed);
TOVRI_JSON_RECORD(RSSFeedListResponse);
TOVRI_JSON_RECORD(RSSFeedResponse);
TOVRI_JSON_RECORD(ServiceRefusal);
TOVRI_JSON_RECORD(PutIOAPI::StatusResponse);
TOVRI_JSON_RECORD(PutIOAPI::DownloadURLResponse);
TOVRI_JSON_RECORD(PutIOAPI::UploadResponse);

#undef TOVRI_JSON_RECORD

}  // namespace tovri
