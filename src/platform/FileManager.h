#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "base/Result.h"
#include "platform/FileHandle.h"
#include "platform/PlacingNames.h"
#include "platform/Volume.h"
#include "platform/WritableFile.h"

namespace tovri {

// What tells a file from every other while it exists, whatever names it has; a move within its volume keeps it.
struct FileIdentity {
    std::uint64_t volume = 0;
    std::uint64_t number = 0;

    bool operator==(const FileIdentity&) const = default;
};

// How a file stood at one moment: as long as it stays equal, nobody has touched the file.
struct FileStamp {
    FileIdentity identity;
    ByteCount size = 0;
    std::int64_t changed = 0;  // when it, or anything about it, was last changed; in the file system's own nanoseconds

    bool operator==(const FileStamp&) const = default;
};

// The file system. Every operation blocks; any thread. Failures describe the path and the reason in one sentence that
// says what the user can do.
class FileManager {
public:
    using Path = std::filesystem::path;

    virtual ~FileManager() = default;

    // Whether an entry of any kind stands at the path; a link counts by itself, wherever it leads.
    [[nodiscard]] virtual bool exists(const Path& path) = 0;

    // Size of a regular file in bytes; none for anything else.
    [[nodiscard]] virtual std::optional<ByteCount> fileSize(const Path& path) = 0;

    // None when nothing stands there.
    [[nodiscard]] virtual std::optional<FileIdentity> identity(const Path& path) = 0;

    // Of a regular file; none for anything else.
    [[nodiscard]] virtual std::optional<FileStamp> stamp(const Path& path) = 0;

    // Whether `path` would be `folder` or something below it, wherever links lead. Neither need exist.
    [[nodiscard]] virtual bool isWithin(const Path& path, const Path& folder) = 0;

    // The volume on which something at the path would be.
    [[nodiscard]] virtual Result<Volume> volume(const Path& path) = 0;

    // Where the volume of this lasting identity is mounted now, wherever it was before.
    [[nodiscard]] virtual std::vector<Path> mountPoints(const std::string& identity) = 0;

    // With all missing parents; an existing folder is fine. Fails where a link on the way may be somebody else's.
    [[nodiscard]] virtual Result<void> createDirectories(const Path& path) = 0;

    // A folder for its owner alone; only the last part of the path may be missing. An existing one is fine if it
    // belongs to the user, who then closes it to all others, or to whoever owns the folder above it, and is no link.
    [[nodiscard]] virtual Result<void> createPrivateFolder(const Path& path) = 0;

    // The entries of a folder, hidden ones included, in no particular order.
    [[nodiscard]] virtual Result<std::vector<Path>> directoryContents(const Path& path) = 0;

    // A second name or copy of the file at the cheapest price the volume offers: hard link, shared blocks, bytes.
    // `alreadyExists` when something stands at `to`.
    [[nodiscard]] virtual Result<void> cloneFile(const Path& from, const Path& to) = 0;

    // Atomic: `to` is either absent or whole. `alreadyExists` when something stands at `to`, which is never touched.
    // Between volumes the file is copied to its gatheringPath, which makes way, given the permissions of its new
    // folder, and made durable first; a stop ends that copy and removes it.
    [[nodiscard]] virtual Result<void> moveItem(const Path& from, const Path& to, std::stop_token stop) = 0;

    // As moveItem, but what stands at `to` makes way once the new file has reached its volume: a folder goes to its
    // replacedPath with all that it holds, anything else for good. A failure leaves the old entry in place.
    [[nodiscard]] virtual Result<void> replaceItem(const Path& from, const Path& to, std::stop_token stop) = 0;

    // Gives a file the mode, group and access list that one newly made in the folder would get: a download is for its
    // owner alone until it takes its place there.
    [[nodiscard]] virtual Result<void> adoptFolderPermissions(const Path& file, const Path& folder) = 0;

    // A word about a file that stays with it whatever becomes of its names and its content, and that a move to another
    // volume takes along; another process reads it too. Empty where there is none, also on volumes that keep none.
    [[nodiscard]] virtual std::string mark(const Path& file) = 0;

    // An empty one removes it. Succeeds where the volume, or the file's owner, lets us keep none.
    [[nodiscard]] virtual Result<void> setMark(const Path& file, const std::string& mark) = 0;

    // A folder goes with all that it holds.
    [[nodiscard]] virtual Result<void> removeItem(const Path& path) = 0;

    // Anything but a folder.
    [[nodiscard]] virtual Result<void> removeFile(const Path& path) = 0;

    // Returns when the file's bytes, its mark and its name would survive a loss of power.
    [[nodiscard]] virtual Result<void> makeDurable(const Path& path) = 0;

    // The same for files that are there together, at a lower price: the outcome of each, in their order.
    [[nodiscard]] virtual std::vector<Result<void>> makeAllDurable(const std::vector<Path>& paths) = 0;

    // Returns when the folder's entries, its own name and those of the folders above it, up to where its volume begins,
    // would survive a loss of power, whoever made them.
    [[nodiscard]] virtual Result<void> makeFolderDurable(const Path& folder) = 0;

    [[nodiscard]] virtual Result<ByteBlob> readFile(const Path& path) = 0;

    // Takes the next piece of a file's content.
    using Sink = std::function<Result<void>(std::string_view piece)>;
    // Hands a file's content on, up to the first failure, which it returns.
    using Content = std::function<Result<void>(const Sink& sink)>;

    // Replaces the file's content: a reader, also one after a loss of power, finds the old bytes or the new ones.
    [[nodiscard]] virtual Result<void> writeFileAtomically(const Path& path, const Content& content) = 0;

    [[nodiscard]] Result<void> writeFileAtomically(const Path& path, std::string_view bytes) {
        return writeFileAtomically(path, [bytes](const Sink& sink) { return sink(bytes); });
    }

    // Creates the file when it is missing. Not durable.
    [[nodiscard]] virtual Result<void> appendToFile(const Path& path, std::string_view bytes) = 0;

    [[nodiscard]] virtual Result<std::unique_ptr<FileHandle>> openForReading(const Path& path) = 0;

    // A new file, readable by its owner alone; `alreadyExists` when something stands there.
    [[nodiscard]] virtual Result<std::unique_ptr<FileHandle>> createFile(const Path& path) = 0;

    // The same to be filled in any order; missing folders above it are made, for their owner alone too.
    [[nodiscard]] virtual Result<std::unique_ptr<WritableFile>> createForWriting(const Path& path) = 0;

    // A file that was begun before, cut to its first `length` bytes. A failure says that what had arrived is gone when
    // the file holds fewer, is missing, or is anything but a regular file; a link is not followed.
    [[nodiscard]] virtual Result<std::unique_ptr<WritableFile>> reopenForWriting(const Path& path,
                                                                                 ByteCount length) = 0;
};

// The folders that the platform gives to a user and to this program. Fixed at start.
struct StandardFolders {
    std::filesystem::path home;
    std::filesystem::path applicationData;  // ours alone: holds the queue, the staging folder, the rules
    std::filesystem::path temporary;
    std::string uploadPrefix = "tovri-upload-";  // how the names of this process's files there begin
};

}  // namespace tovri
