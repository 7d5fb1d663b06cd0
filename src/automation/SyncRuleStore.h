#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "automation/SyncPorts.h"
#include "automation/SyncRule.h"

namespace tovri {

// Knows where the rules file lives, reads it, and writes it behind the main loop's back, in a lane of its own. After a
// failure the next change brings all rules again.
class SyncRuleStore {
public:
    explicit SyncRuleStore(SyncPorts ports);

    // Told on the main thread of each writing that failed, but for those that finish() returns.
    void onFailure(std::function<void(const Error&)> tell) { *tellFailure_ = std::move(tell); }

    [[nodiscard]] const std::filesystem::path& storageURL() const { return storageURL_; }

    // The saved rules; none when there is no file. One that cannot be read or understood is reported by a diagnostic
    // line, and stays under another name when the first save replaces it.
    [[nodiscard]] std::vector<SyncRule> load();

    // A file that a rule knows by now, while nobody knows whether it would survive a loss of power.
    using Unsecured = std::set<std::pair<UUID, FileID>>;

    // Writes these rules, durably, after those under way. Rules that are still waiting for that make way. What is not
    // secured is written as pending.
    void save(const std::vector<SyncRule>& rules, const Unsecured& unsecured);

    // Returns when what was to be saved is written, or could not be; at the latest after ten seconds.
    Result<void> finish();

private:
    class Writer;

    SyncPorts ports_;
    std::filesystem::path storageURL_;
    std::shared_ptr<Writer> writer_;                                  // shared with the lane
    std::shared_ptr<std::function<void(const Error&)>> tellFailure_;  // a writing's report holds it weakly
};

}  // namespace tovri
