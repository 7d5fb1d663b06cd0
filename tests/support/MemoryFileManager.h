#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileManager.h"

namespace tovri::test {

// A file system in memory with the port's contract, and with what disks do to programs: volumes, read-only folders, a
// full disk, failures on demand, loss of power. One thread.
class MemoryFileManager final : public FileManager {
public:
    MemoryFileManager();
    ~MemoryFileManager() override;

    // --- what a test arranges and looks at; never fails on purpose ---

    // Makes the folder the root of a volume of its own, empty and durable.
    void addVolume(const Path& mountPoint);

    // Takes the volume away and brings it back; in between an empty folder of the volume above stands there.
    void unmount(const Path& mountPoint);
    void mount(const Path& mountPoint);

    // Mounts what was mounted at `mountPoint`, or is away, at another place.
    void mountElsewhere(const Path& mountPoint, const Path& place);

    // Most bytes that the files of the path's volume may hold together.
    void setCapacity(const Path& volume, ByteCount capacity);
    void setLongestName(const Path& volume, std::size_t length);

    // Nothing in or below the folder can be changed.
    void setReadOnly(const Path& folder, bool isReadOnly);

    // The next `times` operations of that name which name the path, as source or target, fail with the error. An empty
    // path stands for any.
    void failNext(std::string operation, Path path, Error error, int times = 1);

    // Forgets everything that was not made durable.
    void powerLoss();

    // Puts a file there with the folders above it, durable at once.
    void put(const Path& path, std::string bytes);

    // Adds bytes at the end of a file, as a transfer does while it runs. Not durable.
    [[nodiscard]] Result<void> append(const Path& path, std::string_view bytes);

    // A file's content; none when there is no file.
    [[nodiscard]] std::optional<std::string> content(const Path& path);

    // Every file at or below the folder, with its content.
    [[nodiscard]] std::map<Path, std::string> files(const Path& folder = "/");

    // The same as a loss of power would leave it.
    [[nodiscard]] std::map<Path, std::string> durableFiles(const Path& folder = "/");

    // After so many operations the disk stays as it is: whoever works on it is as good as killed at that moment.
    void stopAfter(int count) { operationsLeft_ = count; }

    [[nodiscard]] bool hasStopped() const { return operationsLeft_ == 0; }

    void goOn() { operationsLeft_.reset(); }

    bool keepsRoom = true;                // whether its volumes can keep room for bytes to come
    std::vector<std::string> operations;  // "moveItem /a /b", in their order; those that ask nothing are left out

    // --- FileManager ---

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
    struct Node;
    using NodePointer = std::shared_ptr<Node>;
    class Handle;
    class Writable;

    struct Fault {
        std::string operation;
        Path path;
        Error error;
        int times;
    };

    struct Disk {
        std::optional<ByteCount> capacity = {};
        std::size_t longestName = 255;
        std::string identity = {};
        NodePointer detached = {};  // its root, while it is not mounted
    };

    // A place for an entry: the folder that holds it and its name there.
    struct Slot {
        Node* folder;
        std::string name;
    };

    [[nodiscard]] Result<void> begin(const std::string& operation, const Path& path, const Path& target = {});
    [[nodiscard]] Result<void> makeFolders(const Path& path);
    [[nodiscard]] NodePointer find(const Path& path) const;
    [[nodiscard]] Result<Slot> slot(const Path& path) const;
    [[nodiscard]] Result<void> checkWritable(const Path& path) const;
    void hang(const Path& place, NodePointer folder);
    [[nodiscard]] Path mountPointOf(const Path& path) const;
    [[nodiscard]] std::uint64_t volumeNumber(const Path& path) const;
    [[nodiscard]] ByteCount used(const Path& mountPoint) const;
    [[nodiscard]] Result<void> checkRoom(const Path& path, ByteCount more) const;
    [[nodiscard]] Result<void> put(const Path& from, const Path& to, const Slot& target, const std::stop_token& stop);
    void makeWay(const Path& path, const Slot& place);
    void makeNameDurable(const Path& path);
    [[nodiscard]] std::map<Path, std::string> collect(const Path& folder, bool isDurable) const;

    NodePointer root_;
    std::map<Path, Disk> disks_{{"/", {.identity = "memory at /"}}};  // by where they are mounted
    std::set<Path> readOnly_;
    std::vector<Fault> faults_;
    std::optional<int> operationsLeft_;
};

}  // namespace tovri::test
