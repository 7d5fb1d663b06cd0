#pragma once

#include <bitset>
#include <string>
#include <string_view>
#include <tuple>

#include "downloads/saving/SavedFormats.h"

namespace tovri::saved {

// One member of a record: its key, the field that holds it, and the format of its value.
template <class Record, class Value, class Format>
struct Member {
    using Owner = Record;

    std::string_view key;
    Value Record::* field;
    Format format;
    bool isRequired = false;

    void write(auto& json, const Record& record) const {
        const Value& value = record.*field;
        if constexpr (requires { *value; }) {
            if (!value) return;
            writeKey(json, key);
            format.write(json, *value);
        } else {
            writeKey(json, key);
            format.write(json, value);
        }
    }

    void read(const SavedValue& saved, Record& record) const {
        if (isRequired || !saved.isNull()) record.*field = format.read(saved);
    }
};

// A member without which the file cannot be read.
template <class Record, class Value, class Format>
constexpr Member<Record, Value, Format> required(std::string_view key, Value Record::* field, Format format) {
    return {key, field, format, true};
}

// A member that may be missing, or null, where the field keeps what it held before. A field that can be none is written
// only where it is not.
template <class Record, class Value, class Format>
constexpr Member<Record, Value, Format> optional(std::string_view key, Value Record::* field, Format format) {
    return {key, field, format, false};
}

// Written only where it is not the initial value of its type.
template <class Record, class Value, class Format>
struct YoungerMember : Member<Record, Value, Format> {
    void write(auto& json, const Record& record) const {
        if (record.*(this->field) != Value()) Member<Record, Value, Format>::write(json, record);
    }
};

// An optional member that is younger than the format: a record that has nothing to say there is written as it was
// before.
template <class Record, class Value, class Format>
constexpr YoungerMember<Record, Value, Format> younger(std::string_view key, Value Record::* field, Format format) {
    return {{key, field, format, false}};
}

// The format of a record: an object whose members are written in the order in which they stand here, and read in any.
// Unknown keys are passed over.
template <class Record, class... Members>
class RecordFormat {
public:
    // `noun` is what is said to lack a member: "an item".
    constexpr explicit RecordFormat(std::string_view noun, Members... members) : noun_(noun), members_(members...) {}

    void write(auto& json, const Record& record) const {
        json.StartObject();
        std::apply([&](const auto&... member) { (member.write(json, record), ...); }, members_);
        json.EndObject();
    }

    [[nodiscard]] Record read(const SavedValue& saved) const {
        Record record;
        json::object object;
        if (saved.value.get(object) != simdjson::SUCCESS) throw Unreadable{std::string(noun_) + " is not an object"};
        read(object, record, saved.shared);
        return record;
    }

    // Leaves alone what the object does not have.
    void read(json::object object, Record& record, SharedValues& shared) const {
        Found found;
        for (auto field : object) {
            const std::string_view key = plainKey(field);
            json::value value = field.value();
            readMember({value, key, shared}, record, found);
        }
        requireAll(found);
    }

    // Whether the keys are written in ascending order.
    [[nodiscard]] constexpr bool isSorted() const {
        return std::apply(
            [](const auto&... member) {
                std::string_view last;
                return ((std::exchange(last, member.key) < member.key) && ...);
            },
            members_);
    }

private:
    using Found = std::bitset<sizeof...(Members)>;

    void readMember(const SavedValue& saved, Record& record, Found& found) const {
        std::apply(
            [&](const auto&... member) {
                std::size_t i = 0;
                // Stops at the member whose key this is, if there is one.
                static_cast<void>(
                    ((saved.key == member.key ? (member.read(saved, record), found.set(i), true) : (++i, false)) ||
                     ...));
            },
            members_);
    }

    void requireAll(const Found& found) const {
        std::apply(
            [&](const auto&... member) {
                std::size_t i = 0;
                const auto require = [&](const auto& one) {
                    if (one.isRequired && !found[i])
                        throw Unreadable{std::string(noun_).append(" has no \"").append(one.key) + "\""};
                    ++i;
                };
                (require(member), ...);
            },
            members_);
    }

    std::string_view noun_;
    std::tuple<Members...> members_;
};

template <class First, class... Rest>
RecordFormat(std::string_view, First, Rest...) -> RecordFormat<typename First::Owner, First, Rest...>;

}  // namespace tovri::saved
