#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Result.h"
#include "platform/FileManager.h"

namespace tovri {

// Remembers, also beyond the queue, which local files came with the deletion of their original: each may be the only
// copy of what it holds. A file is known by its path, by itself where it was renamed or is reached by another path, and
// where its volume allows that by a mark on it, which other data folders read too and which outlasts changes of it.
// Any thread; what is asked of a file's place is asked on its volume's thread, so that nothing is placed in between.
class BroughtFiles {
public:
    enum class Original { kept, gone };  // on put.io

    // `files` outlives this; `file` is this list's own.
    BroughtFiles(FileManager& files, std::filesystem::path file);

    // The file has just got this name, or what is known of its original has changed.
    Result<void> note(const std::filesystem::path& path, const FileStamp& stamp, Original original);

    // Another file has the name now, or put.io keeps the original for good. A file whose original is gone goes on being
    // known by itself: it may have another name.
    void forget(const std::filesystem::path& path);

    // What the file itself says from now on; nothing without `original`.
    [[nodiscard]] Result<void> mark(const std::filesystem::path& path, std::optional<Original> original);

    // None when what stands there did not come so. A folder that holds such a file counts as kept: it would only leave
    // its place.
    [[nodiscard]] std::optional<Original> find(const std::filesystem::path& path);

    // What was noted survives a loss of power.
    [[nodiscard]] Result<void> makeDurable();

private:
    struct Entry {
        FileIdentity identity;
        ByteCount size = 0;
        Original original = Original::kept;
    };

    // A file's number on its volume, and its size. Not the volume's number, which is another one whenever a disk is
    // connected anew.
    using FileKey = std::pair<std::uint64_t, ByteCount>;

    static FileKey keyOf(const Entry& entry) { return {entry.identity.number, entry.size}; }

    void load();
    void add(const std::string& path, const Entry& entry);
    void erase(const std::string& path);
    [[nodiscard]] std::optional<Original> findListed(const std::filesystem::path& path);
    [[nodiscard]] std::optional<Original> findItself(const std::string& path,
                                                     const std::optional<FileStamp>& stamp) const;
    [[nodiscard]] Result<void> append(const std::string& line);

    FileManager& files_;
    std::filesystem::path file_;
    std::mutex access_;
    bool isLoaded_ = false;
    std::map<std::string, Entry> entries_;  // by path
    std::map<FileKey, Original> originals_;
};

}  // namespace tovri
