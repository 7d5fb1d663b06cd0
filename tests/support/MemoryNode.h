#pragma once

#include <algorithm>
#include <map>
#include <string>

#include "support/MemoryFileManager.h"

// What the parts of MemoryFileManager share.
namespace tovri::test {

// A file or a folder, as the program sees it and as the disk would give it back after a loss of power.
struct MemoryFileManager::Node {
    using Entries = std::map<std::string, NodePointer>;

    explicit Node(bool folder) : isFolder(folder) {}

    bool isFolder;
    std::string bytes;
    std::string durableBytes;
    std::string mark;
    std::string durableMark;
    std::size_t reserved = 0;  // bytes that it has room for, whether it holds them or not
    Entries entries;
    Entries durableEntries;

    void makeDurable() {
        durableBytes = bytes;
        durableMark = mark;
        durableEntries = entries;
    }

    [[nodiscard]] ByteCount room() const { return static_cast<ByteCount>(std::max(bytes.size(), reserved)); }

    void losePower() {
        bytes = durableBytes;
        mark = durableMark;
        entries = durableEntries;
        for (const auto& [name, entry] : entries) entry->losePower();
    }
};

inline FileManager::Path normal(const FileManager::Path& path) {
    const FileManager::Path clean = (FileManager::Path("/") / path).lexically_normal();
    return clean.has_filename() ? clean : clean.parent_path();
}

inline bool isAtOrBelow(const FileManager::Path& path, const FileManager::Path& folder) {
    const auto [end, unused] = std::ranges::mismatch(folder, path);
    return end == folder.end();
}

inline Error refused(const FileManager::Path& path, const std::string& reason, ErrorCase code = ErrorCase::file) {
    return {code, "Cannot use " + path.string() + ": " + reason + "."};
}

inline Error missing(const FileManager::Path& path) {
    return refused(path, "there is no such file or folder");
}

inline Error taken(const FileManager::Path& path) {
    return refused(path, "something of that name is already there", ErrorCase::alreadyExists);
}

}  // namespace tovri::test
