#pragma once

#include <string_view>
#include <tuple>

namespace tovri {

// One field of a record and its key in the service's JSON. A std::optional field may be missing or null there, any
// other one must be present.
template <class Record, class Value>
struct JSONField {
    std::string_view key;
    Value Record::* member;
};

// The fields of a record, in the order in which they are written. Each record returns its own from jsonFields().
template <class Record, class... Value>
constexpr auto jsonFieldList(JSONField<Record, Value>... fields) {
    return std::tuple(fields...);
}

}  // namespace tovri
