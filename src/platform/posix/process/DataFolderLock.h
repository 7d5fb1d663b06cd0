#pragma once

#include <filesystem>
#include <string_view>

#include "base/Result.h"
#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// Held by the one process that may change the data folder. Ends with this object, and with the process however that
// ends. A child process does not inherit it across exec.
class DataFolderLock {
public:
    // Creates the folder when it is missing. `program` is what a second process is told about the holder, beside the
    // process's number; the error, ErrorCase::inUse, says it as the user may see it.
    [[nodiscard]] static Result<DataFolderLock> acquire(const std::filesystem::path& folder, std::string_view program);

private:
    explicit DataFolderLock(FileDescriptor file) : file_(std::move(file)) {}

    FileDescriptor file_;
};

}  // namespace tovri
