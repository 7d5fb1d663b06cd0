#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "sandbox/Time.h"
#include "sandbox/account/Content.h"

namespace tovri::sandbox {

using FileID = std::int64_t;
constexpr FileID rootID = 0;

// One file or folder of the account, as it stood when it was asked for.
struct File {
    FileID id = rootID;
    FileID parentID = rootID;
    std::string name;
    bool isFolder = false;
    std::int64_t size = 0;  // of a folder: the sum of everything below it
    std::string contentType;
    UnixTime createdAt = 0;
    UnixTime updatedAt = 0;
    std::uint64_t contentSeed = 0;
    std::uint64_t version = 0;                         // counts changes of the content
    std::shared_ptr<const std::string> storedContent;  // null: generated
    std::optional<std::uint32_t> knownCRC32;           // computed when needed otherwise
    bool isContentLost = false;                        // uploaded, but beyond what the sandbox keeps

    Content content() const;

    // Strong: another version of the content has another tag.
    std::string entityTag() const;
};

// What is wanted of a new file; the account adds the rest.
struct NewFile {
    std::string name;
    std::uint64_t size = 0;
    std::string contentType = {};  // empty: by the name's extension
    std::shared_ptr<const std::string> storedContent = nullptr;
    std::optional<std::uint32_t> knownCRC32 = std::nullopt;
    bool isContentLost = false;
};

// The files of the one user whom the sandbox serves. Safe to use from any thread: every operation is atomic, and what
// it hands out are copies.
class Account {
public:
    Account();

    // The contents of files that are added from now on depend on this seed.
    void reseed(std::uint64_t seed);

    // IDs are given in the order in which things are added, from 1. What has no folder to go to ends in the root.
    FileID addFolder(FileID parentID, std::string name);
    FileID addFile(FileID parentID, NewFile file);

    // The folder at the end of a path, made with those above it where they are missing.
    FileID makeFolders(std::string_view path);

    std::optional<File> find(FileID id) const;

    // By the names from the root on, "/Films/Notes.txt"; the first of those that share a name.
    std::optional<File> findPath(std::string_view path) const;

    // Part of a folder's entries in the order in which they came.
    std::vector<File> children(FileID folderID, std::size_t from = 0, std::size_t count = SIZE_MAX) const;
    std::size_t childCount(FileID folderID) const;

    // The names from below the root down to the file.
    std::vector<std::string> namesTo(FileID id) const;

    // Removes the file, or the folder with everything below it; false when there is none.
    bool remove(FileID id);

    // False when either is missing, the target is no folder, or a folder would end up inside itself.
    bool move(FileID id, FileID targetFolderID);

    // False for the root and for what is not there.
    bool rename(FileID id, std::string name);

    // Puts a new file, with an ID of its own, in the place of another; none when there is no such file.
    std::optional<FileID> replace(FileID id, NewFile file);

    // Replaces the content by another of the same size, as if the file had been written again.
    void changeContent(FileID id);

    // Of a file's content, computed once. None when there is no such file.
    std::optional<std::uint32_t> crc32(FileID id);

    std::int64_t used() const;

private:
    struct Node {
        File file;
        std::vector<FileID> children;
    };

    // The caller holds the lock for these.
    FileID insert(FileID parentID, File file);
    void resizeAncestors(FileID parentID, std::int64_t by);
    void detach(const Node& node);
    bool isWithin(FileID id, FileID folderID) const;

    mutable std::mutex mutex_;
    std::uint64_t seed_ = 1;
    FileID lastID_ = rootID;
    std::unordered_map<FileID, Node> nodes_;
};

}  // namespace tovri::sandbox
