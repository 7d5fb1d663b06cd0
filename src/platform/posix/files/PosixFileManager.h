#pragma once

#include "platform/FileManager.h"
#include "platform/posix/folders/FolderPermissions.h"
#include "platform/posix/folders/NewFolders.h"
#include "platform/posix/folders/VolumeLookup.h"

namespace tovri {

// The file system of the machine. Paths are bytes, whatever their encoding. A symbolic link is an entry like any other:
// it is moved, replaced and removed by itself, and followed where it stands for a folder on the way.
//
// A file that went to another volume counts as moved when its new name is durable, also when the old one cannot be
// removed. A file of createFile is locked (flock(2)) as long as its handle lives.
class PosixFileManager final : public FileManager {
public:
    [[nodiscard]] bool exists(const Path& path) override;
    [[nodiscard]] std::optional<ByteCount> fileSize(const Path& path) override;
    [[nodiscard]] std::optional<FileIdentity> identity(const Path& path) override;
    [[nodiscard]] std::optional<FileStamp> stamp(const Path& path) override;
    [[nodiscard]] bool isWithin(const Path& path, const Path& folder) override;
    [[nodiscard]] Result<Volume> volume(const Path& path) override;
    [[nodiscard]] std::vector<Path> mountPoints(const std::string& identity) override;
    [[nodiscard]] Result<void> createDirectories(const Path& path) override;
    [[nodiscard]] Result<void> createPrivateFolder(const Path& path) override;
    [[nodiscard]] Result<std::vector<Path>> directoryContents(const Path& path) override;
    [[nodiscard]] Result<void> cloneFile(const Path& from, const Path& to) override;
    [[nodiscard]] Result<void> moveItem(const Path& from, const Path& to, std::stop_token stop) override;
    [[nodiscard]] Result<void> replaceItem(const Path& from, const Path& to, std::stop_token stop) override;
    [[nodiscard]] Result<void> adoptFolderPermissions(const Path& file, const Path& folder) override;
    [[nodiscard]] std::string mark(const Path& file) override;
    [[nodiscard]] Result<void> setMark(const Path& file, const std::string& mark) override;
    [[nodiscard]] Result<void> removeItem(const Path& path) override;
    [[nodiscard]] Result<void> removeFile(const Path& path) override;
    [[nodiscard]] Result<void> makeDurable(const Path& path) override;
    [[nodiscard]] std::vector<Result<void>> makeAllDurable(const std::vector<Path>& paths) override;
    [[nodiscard]] Result<void> makeFolderDurable(const Path& folder) override;
    [[nodiscard]] Result<ByteBlob> readFile(const Path& path) override;
    using FileManager::writeFileAtomically;
    [[nodiscard]] Result<void> writeFileAtomically(const Path& path, const Content& content) override;
    [[nodiscard]] Result<void> appendToFile(const Path& path, std::string_view bytes) override;
    [[nodiscard]] Result<std::unique_ptr<FileHandle>> openForReading(const Path& path) override;
    [[nodiscard]] Result<std::unique_ptr<FileHandle>> createFile(const Path& path) override;
    [[nodiscard]] Result<std::unique_ptr<WritableFile>> createForWriting(const Path& path) override;
    [[nodiscard]] Result<std::unique_ptr<WritableFile>> reopenForWriting(const Path& path, ByteCount length) override;

private:
    NewFolders newFolders_;
    FolderExamples examples_;
    VolumeLookup volumes_;
};

}  // namespace tovri
