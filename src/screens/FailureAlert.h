#pragma once

#include <string>

namespace tovri {

// What a screen shows when an action failed.
struct FailureAlert {
    static constexpr const char* title = "Something Went Wrong";
    static constexpr const char* dismissLabel = "OK";

    std::string message;

    bool operator==(const FailureAlert&) const = default;
};

}  // namespace tovri
