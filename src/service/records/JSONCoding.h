#pragma once

#include <string>
#include <string_view>

#include "base/Result.h"

namespace tovri {

// Reads a record from a JSON text, strictly: a required key that is missing or null, a value of another type, or a text
// that is no JSON or no UTF-8 fails with ErrorCase::decoding and a description that names the key and what should be
// there, never a value. Unknown keys are ignored, whatever their values; of a repeated key the last value counts. An
// integer may be written with a fraction or an exponent as long as it is whole and below 2^53. Defined for the
// service's records; any thread.
template <class Record>
[[nodiscard]] Result<Record> decodeJSON(std::string_view text);

// The record as JSON, its keys in the order of its fields; fields without value are left out.
template <class Record>
[[nodiscard]] std::string encodeJSON(const Record& record);

}  // namespace tovri
