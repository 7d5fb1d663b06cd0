#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>

#include "base/Bytes.h"
#include "base/Result.h"
#include "platform/FileManager.h"
#include "service/records/FileID.h"

namespace tovri {

// A file of ours that goes with the object, whichever thread lets go of it last. It is held open until then.
class TemporaryFile {
public:
    // `files` outlives the file. Nothing is created yet.
    TemporaryFile(FileManager& files, std::filesystem::path path) : files_(files), path_(std::move(path)) {}

    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    // The handle is good as long as the object.
    [[nodiscard]] Result<FileHandle*> create();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    FileManager& files_;
    std::filesystem::path path_;
    std::unique_ptr<FileHandle> handle_;  // null until the file is created
};

// What goes into the body of an upload request (RFC 7578).
struct MultipartUpload {
    std::string boundary;
    FolderID parentID;
    std::filesystem::path file;
};

// Builds the body in the temporary file, a piece of 8 MiB at a time, and returns how much of it is not the file's own.
// Blocks; any thread.
[[nodiscard]] Result<ByteCount> writeBody(const MultipartUpload& upload, FileManager& files, TemporaryFile& body,
                                          const std::stop_token& stop);

}  // namespace tovri
