#pragma once

#include <filesystem>
#include <optional>
#include <set>

#include "downloads/saving/QueueSnapshot.h"
#include "platform/DiagnosticLog.h"

namespace tovri {

// Knows where the queue file and the staging folder live, and reads and writes the queue file. Does not decide when.
class DownloadStore {
public:
    // What it works with; outlives it. `folder` is the application's own.
    struct Ports {
        FileManager& files;
        WallClock& clock;
        DiagnosticLog& log;
        std::filesystem::path folder;
    };

    explicit DownloadStore(const Ports& ports);

    // Where the queue file of an application with this folder is.
    [[nodiscard]] static std::filesystem::path queueURL(const std::filesystem::path& folder) {
        return folder / "queue.json";
    }

    [[nodiscard]] const std::filesystem::path& stagingDirectory() const { return stagingDirectory_; }

    [[nodiscard]] const std::filesystem::path& queueURL() const { return queueURL_; }

    // A failure shows when something is staged.
    void createStagingDirectory() {
        (void)files_.createDirectories(stagingDirectory_.parent_path());
        (void)files_.createPrivateFolder(stagingDirectory_);
    }

    // What a process left that died while it replaced a file of the data folder. To be called before any is replaced.
    void removeHalfWritten();

    // The saved queue without what was pruned; the empty one when there is none. A file that cannot be read or
    // understood is reported by a diagnostic line and stays under another name when the next save replaces it.
    [[nodiscard]] QueueSnapshot load();

    // What load() could not understand, under the name that it has now.
    [[nodiscard]] const std::optional<std::filesystem::path>& unreadableFile() const { return unreadableFile_; }

    // The size of the file that load() read.
    [[nodiscard]] ByteCount loadedSize() const { return loadedSize_; }

    // Prunes, encodes and writes, durably; how large the file is then. Any thread, but one at a time: of two saves the
    // one that ends last wins.
    [[nodiscard]] Result<ByteCount> save(QueueSnapshot snapshot) const;

    // Deletes every staged file but these.
    void cleanStaging(const std::set<std::filesystem::path>& keep);

private:
    // Finished items older than 30 days are forgotten.
    void prune(QueueSnapshot& snapshot) const;
    void keepUnreadableFile();

    FileManager& files_;
    WallClock& clock_;
    DiagnosticLog& log_;
    std::filesystem::path stagingDirectory_;
    std::filesystem::path queueURL_;
    ByteCount loadedSize_ = 0;
    std::optional<std::filesystem::path> unreadableFile_;
};

}  // namespace tovri
