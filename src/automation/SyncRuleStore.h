#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "automation/SyncRule.h"
#include "platform/Platform.h"

namespace tovri {

// Knows where the rules file lives, reads it, and writes it behind the main loop's back. A failure to write is silent:
// the next change brings all rules again.
class SyncRuleStore {
public:
    // Creates the folder of the rules file; a failure shows when the rules are saved.
    explicit SyncRuleStore(const Platform& platform);

    [[nodiscard]] const std::filesystem::path& storageURL() const { return storageURL_; }

    // The saved rules; none when there is no file. One that cannot be read or understood is reported by a diagnostic
    // line, and stays under another name when the first save replaces it.
    [[nodiscard]] std::vector<SyncRule> load();

    // Writes these rules, durably, as soon as a thread is free. Rules that are still waiting for it make way.
    void save(const std::vector<SyncRule>& rules);

    // Before the rules are written that say that the file has arrived, its bytes are on the disk.
    void writeAfter(std::filesystem::path arrived);

    // Returns when what was to be saved is written, or could not be.
    Result<void> finish();

private:
    class Writer;

    Platform platform_;
    std::filesystem::path storageURL_;
    std::shared_ptr<Writer> writer_;  // shared with the threads that write
    Subscription writing_;
};

}  // namespace tovri
