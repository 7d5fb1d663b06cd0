#pragma once

#include <functional>
#include <string>

#include "base/Result.h"
#include "base/Task.h"
#include "base/UUID.h"

namespace tovri {

// A step that destroys something, waiting for the user's word. The dialog that asks has a destructive button
// `confirmLabel` and one that cancels.
struct DestructiveAction {
    static constexpr const char* cancelLabel = "Cancel";

    UUID id;  // of its own
    std::string title;
    std::string message;
    std::string confirmLabel;
    std::function<Task<Result<void>>()> run;  // at most once
};

}  // namespace tovri
