#pragma once

#include <stop_token>
#include <vector>

#include "base/Result.h"
#include "base/Task.h"
#include "service/PutIOAPI.h"

namespace tovri {

// Deletes files, and folders with all that they hold. Unlike PutIOAPI::deleteFiles it takes only an answer that says
// "OK" for a success: any other may leave everything where it is. `api` outlives the call.
[[nodiscard]] Task<Result<void>> deleteConfirmed(PutIOAPI* api, std::vector<FileID> entries, std::stop_token stop);

}  // namespace tovri
