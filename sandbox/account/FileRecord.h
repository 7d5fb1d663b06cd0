#pragma once

#include <optional>

#include "sandbox/account/Account.h"
#include "sandbox/api/JsonWriter.h"

namespace tovri::sandbox {

// Writes a file as the API shows it. `crc32` is null for folders and where none is given.
void writeFileRecord(JsonWriter& json, const File& file, std::optional<std::uint32_t> crc32);

}  // namespace tovri::sandbox
