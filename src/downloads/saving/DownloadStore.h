#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <set>

#include "downloads/saving/QueueSnapshot.h"
#include "platform/Platform.h"

namespace tovri {

// Knows where the queue file and the staging folder live, and reads and writes the queue file. Does not decide when.
class DownloadStore {
public:
    explicit DownloadStore(const Platform& platform);

    [[nodiscard]] const std::filesystem::path& stagingDirectory() const { return stagingDirectory_; }

    [[nodiscard]] const std::filesystem::path& queueURL() const { return queueURL_; }

    // A failure shows when something is staged.
    void createStagingDirectory() { (void)platform_.files.createDirectories(stagingDirectory_); }

    // The saved queue without what was pruned; the empty one when there is none. A file that cannot be read or
    // understood is reported by a diagnostic line and stays under another name when the next save replaces it.
    [[nodiscard]] QueueSnapshot load();

    // Gives every snapshot its place in time: of two saves, the one with the later number wins, whichever ends last.
    [[nodiscard]] std::uint64_t nextSaveNumber() { return ++lastSaveNumber_; }

    // Prunes, encodes and writes, durably. False, after a diagnostic line, when the file could not be written. Any
    // thread.
    bool save(QueueSnapshot snapshot, std::uint64_t saveNumber);

    // Deletes every staged file but these.
    void cleanStaging(const std::set<std::filesystem::path>& keep);

private:
    // Finished items older than 30 days are forgotten.
    void prune(QueueSnapshot& snapshot) const;
    void keepUnreadableFile();

    Platform platform_;
    std::filesystem::path stagingDirectory_;
    std::filesystem::path queueURL_;
    std::uint64_t lastSaveNumber_ = 0;

    // A save that runs in the background and the one at quit may meet: whoever writes holds this.
    std::mutex writing_;
    std::uint64_t lastWritten_ = 0;
};

}  // namespace tovri
