#pragma once

#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// Turns the signals that ask a process to end (SIGINT, SIGTERM, SIGHUP) into something that a loop of any kind can
// watch. One at a time in a process; with it, their usual effect comes back.
class EndingSignals {
public:
    EndingSignals();
    ~EndingSignals();
    EndingSignals(const EndingSignals&) = delete;
    EndingSignals& operator=(const EndingSignals&) = delete;

    // Can be read from the first signal on, and stays so.
    [[nodiscard]] int descriptor() const { return bell_.number(); }

private:
    FileDescriptor bell_;
};

}  // namespace tovri
