#pragma once

#include <cstdio>

#include "platform/DiagnosticLog.h"

namespace tovri {

// Lines on an open stream, in order with what else the program writes there, and each flushed at once. What is no plain
// text in them is replaced, so one line stays one line. Where nobody reads any more it stays quiet; the program ignores
// SIGPIPE. Any thread.
class StandardOutputLog final : public DiagnosticLog {
public:
    // `stream` outlives the log.
    explicit StandardOutputLog(std::FILE* stream = stdout) : stream_(stream) {}

    void line(std::string_view text) override;

private:
    std::FILE* stream_;
};

}  // namespace tovri
