#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <rapidjson/rapidjson.h>

#include "base/Bytes.h"
#include "base/FileURL.h"
#include "base/UUID.h"
#include "downloads/saving/SavedDate.h"
#include "downloads/saving/SavedValues.h"
#include "service/requests/UTF8.h"

// The formats of single values in the files that the program keeps for itself. A format writes a value to any of
// RapidJSON's writers and reads it back; whatever reads as another type, or not at all, is rejected.
namespace tovri::saved {

void writeString(auto& json, std::string_view text) {
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeKey(auto& json, std::string_view key) {
    json.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

struct IntegerFormat {
    static void write(auto& json, std::int64_t number) { json.Int64(number); }

    static std::int64_t read(const SavedValue& saved) { return saved.as<std::int64_t>("an integer"); }
};

// The number of a FileID or the like.
template <class ID>
struct IdentifierFormat {
    static void write(auto& json, ID id) { IntegerFormat::write(json, id.number); }

    static ID read(const SavedValue& saved) { return ID(IntegerFormat::read(saved)); }
};

struct NumberFormat {
    // JSON has no other numbers than these.
    static void write(auto& json, double number) { json.Double(std::isfinite(number) ? number : 0); }

    static double read(const SavedValue& saved) { return saved.as<double>("a number"); }
};

struct FlagFormat {
    static void write(auto& json, bool flag) { json.Bool(flag); }

    static bool read(const SavedValue& saved) { return saved.as<bool>("a boolean"); }
};

// Text may name a local file whose name is not UTF-8. A file with such bytes would be refused as a whole when it is
// read, so they become question marks.
struct TextFormat {
    static void write(auto& json, std::string_view text) {
        if (isUTF8(text)) return writeString(json, text);
        std::string readable(text);
        std::ranges::replace_if(readable, [](char letter) { return static_cast<unsigned char>(letter) >= 0x80; }, '?');
        writeString(json, readable);
    }

    static std::string read(const SavedValue& saved) { return std::string(saved.text()); }
};

struct UUIDFormat {
    static void write(auto& json, const UUID& id) { writeString(json, id.text()); }

    static UUID read(const SavedValue& saved) {
        const auto id = UUID::parse(saved.text());
        if (!id) saved.reject("a UUID");
        return *id;
    }
};

struct DateFormat {
    static void write(auto& json, Timestamp time) { json.Double(savedDate(time)); }

    static Timestamp read(const SavedValue& saved) { return timestamp(NumberFormat::read(saved)); }
};

struct Base64Format {
    static void write(auto& json, const ByteBlob& bytes) { writeString(json, base64Encoded(bytes)); }

    static ByteBlob read(const SavedValue& saved) {
        auto bytes = base64Decoded(saved.text());
        if (!bytes) saved.reject("base64");
        return std::move(*bytes);
    }
};

// Bytes that many records share.
struct SharedBase64Format : Base64Format {
    static std::shared_ptr<const ByteBlob> read(const SavedValue& saved) {
        ByteBlob bytes = Base64Format::read(saved);
        auto& blob = saved.shared.blobs[bytes];
        if (!blob) blob = std::make_shared<const ByteBlob>(std::move(bytes));
        return blob;
    }
};

// A text that many records share.
struct SharedTextFormat : TextFormat {
    static std::shared_ptr<const std::string> read(const SavedValue& saved) {
        auto& text = saved.shared.texts[std::string(saved.text())];
        if (!text) text = std::make_shared<const std::string>(TextFormat::read(saved));
        return text;
    }
};

// The path of a file as a URL; the bytes of its name survive, whatever they are.
struct FileURLFormat {
    static void write(auto& json, const std::string& path) { writeString(json, fileURLText(path, FileURLKind::file)); }

    static std::string read(const SavedValue& saved) {
        const auto path = parseFileURL(saved.text());
        if (!path) saved.reject("a file URL");
        return path->native();
    }
};

// A folder that many records share.
struct SharedFolderFormat {
    static void write(auto& json, const std::filesystem::path& folder) {
        writeString(json, fileURLText(folder, FileURLKind::folder));
    }

    static std::shared_ptr<const std::filesystem::path> read(const SavedValue& saved) {
        const std::string_view url = saved.text();
        auto& folder = saved.shared.folders[std::string(url)];
        if (!folder) {
            auto path = parseFileURL(url);
            if (!path) saved.reject("a file URL");
            folder = std::make_shared<const std::filesystem::path>(std::move(*path));
        }
        return folder;
    }
};

// An array. Reads a vector; writes any range.
template <class Element>
struct ListFormat {
    Element element;

    void write(auto& json, const auto& list) const {
        json.StartArray();
        for (const auto& value : list) element.write(json, value);
        json.EndArray();
    }

    auto read(const SavedValue& saved) const {
        auto array = saved.as<json::array>("an array");
        std::vector<decltype(element.read(saved))> list;
        list.reserve(array.count_elements());
        for (auto one : array) {
            json::value value = one.value();
            list.push_back(element.read({value, saved.key, saved.shared}));
        }
        return list;
    }
};

}  // namespace tovri::saved
