#pragma once

#include <string>
#include <vector>

#include "automation/SyncRule.h"
#include "base/Result.h"
#include "platform/FileManager.h"

namespace tovri {

// The rules file's text: compact JSON, one array, every slash escaped. Fails as `sink` does.
[[nodiscard]] Result<void> encodeRules(const std::vector<SyncRule>& rules, const FileManager::Sink& sink);

// ErrorCase::decoding, naming what is wrong, when the text is not JSON, a required key is missing or a value has the
// wrong type or form. Unknown keys are ignored, the order of keys and IDs does not matter.
[[nodiscard]] Result<std::vector<SyncRule>> decodeRules(ByteBlob json);

}  // namespace tovri
