#pragma once

#include <filesystem>
#include <memory>

#include "platform/WritableFile.h"
#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

// The bytes of a download that have arrived so far.
class PosixWritableFile final : public WritableFile {
public:
    // As FileManager::createForWriting and reopenForWriting.
    [[nodiscard]] static Result<std::unique_ptr<WritableFile>> create(std::filesystem::path path, NewFolders& folders);
    [[nodiscard]] static Result<std::unique_ptr<WritableFile>> reopen(std::filesystem::path path, ByteCount length);

    PosixWritableFile(FileDescriptor file, std::filesystem::path path, ByteCount size)
        : file_(std::move(file)), path_(std::move(path)), size_(size) {}

    [[nodiscard]] Result<void> writeAt(ByteCount offset, std::string_view bytes) override;
    [[nodiscard]] Result<ByteBlob> readAt(ByteCount offset, std::size_t limit) override;
    [[nodiscard]] Result<bool> allocate(ByteCount length) override;
    [[nodiscard]] Result<void> synchronize() override;

    [[nodiscard]] ByteCount size() const override { return size_; }

private:
    void startWriteback();

    FileDescriptor file_;
    std::filesystem::path path_;
    ByteCount size_;
    // What was written since the system was last asked to write to the disk, and where.
    ByteCount waiting_ = 0;
    ByteCount waitingFrom_ = 0;
    ByteCount waitingTo_ = 0;
};

}  // namespace tovri
