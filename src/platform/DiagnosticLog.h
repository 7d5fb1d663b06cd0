#pragma once

#include <string_view>

namespace tovri {

// Where diagnostic lines go: one line each, which begins with its component's name in square brackets. A line never
// holds a secret. Any thread.
class DiagnosticLog {
public:
    virtual ~DiagnosticLog() = default;

    // `text` has no line break at its end.
    virtual void line(std::string_view text) = 0;
};

}  // namespace tovri
