#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace tovri::test {

// One thing that was asked of the system.
struct SystemCall {
    enum class Kind { synchronize, synchronizeVolume, giveName, removeName, writeBytes };

    using FileNumber = std::pair<dev_t, ino_t>;

    Kind kind;
    FileNumber file;             // of synchronize; of synchronizeVolume, a file on it
    std::filesystem::path from;  // of giveName: empty where the file had none
    std::filesystem::path path;  // the name that was given or removed
};

// Keeps which calls the program's file operations make while this lives; one at a time, one thread. Blocks are never
// shared between files, so that copies write bytes.
class CallRecorder {
public:
    CallRecorder();
    CallRecorder(const CallRecorder&) = delete;
    CallRecorder& operator=(const CallRecorder&) = delete;
    ~CallRecorder();

    // Asked before each call: an errno value with which it is to fail, or 0.
    std::function<int(const SystemCall&)> fault = [](const SystemCall&) { return 0; };

    std::vector<SystemCall> calls;  // that succeeded
};

}  // namespace tovri::test
