#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

#include "automation/SyncRule.h"
#include "automation/SyncRuleStore.h"
#include "base/Signal.h"
#include "base/TaskScope.h"
#include "downloads/DownloadManager.h"
#include "downloads/listing/FolderWalk.h"
#include "service/PutIOAPI.h"

namespace tovri {

// What changed in the automation. `index` is a rule's place in the list, of a removed one the place that it had.
struct SyncChange {
    enum class Kind { ruleAdded, ruleChanged, ruleRemoved, isSyncing, lastError };
    Kind kind = Kind::ruleAdded;
    std::size_t index = 0;
};

// Whether an item of the status tells its rule that the file is done with. A failed one is tried again.
[[nodiscard]] bool isSettled(Download::Status status);

enum class SyncUrgency {
    whenDue,  // only a rule whose interval has passed
    forced,
};

// The automation rules, their inventories and passes: lists what the rules watch and puts what is new into the download
// queue. The application object owns it and says when it polls. Every change of a rule is on its way to the disk when
// the operation returns. Downloads nothing by itself, and takes no file from a queue.
class SyncManager {
public:
    // Loads the saved rules. What the ports name outlives the manager.
    explicit SyncManager(SyncPorts ports);
    ~SyncManager();
    SyncManager(const SyncManager&) = delete;
    SyncManager& operator=(const SyncManager&) = delete;

    // For a queue that was restored: learns at once what settled in it unseen, and from then on what settles. Both
    // outlive the manager's passes.
    void configure(PutIOAPI& api, DownloadManager& downloadManager);

    // In the order of their making.
    [[nodiscard]] const std::vector<SyncRule>& rules() const { return rules_; }

    // The first with that ID, or null; good until the next change.
    [[nodiscard]] const SyncRule* find(const UUID& id) const;

    [[nodiscard]] bool isSyncing() const { return isSyncing_; }

    // What went wrong last in an inventory or a pass, as the user sees it; the next pass clears it.
    [[nodiscard]] const std::optional<std::string>& lastError() const { return lastError_; }

    // Whose that was, where it was one rule's.
    [[nodiscard]] const std::optional<UUID>& lastErrorRule() const { return lastErrorRule_; }

    // The user has seen it.
    void dismissLastError() { setLastError(std::nullopt); }

    [[nodiscard]] const std::filesystem::path& storageURL() const { return store_.storageURL(); }

    // Told after everything is consistent, only of what differs.
    Subscription onChange(std::function<void(const SyncChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- Rules ---

    // Appends the rule, not initialized, and starts its inventory.
    void addRule(SyncRule rule);

    // Replaces the rule of that ID; does nothing when there is none. With another put.io folder the rule begins anew,
    // with an inventory. A copy that is older than what syncing has learned since brings all but that.
    void updateRule(SyncRule rule);

    // What the rule has in the queue stays there.
    void deleteRule(const UUID& id);

    // In which account somebody is signed in; none: nobody knows yet. Rules of another one wait; those of none become
    // this one's.
    void setAccount(const std::optional<std::string>& name);

    // The user wants a rule of another account to work in the one that is signed in. It begins anew there, with an
    // inventory by the next pass: the files that it knows are the other account's.
    void useAnyAccount(const UUID& id);

    // The file will not be downloaded again for the rule.
    void fileSettled(const UUID& rule, FileID fileID);

    // The same file is on its way for the rule again.
    void fileReturned(const UUID& rule, FileID fileID);

    // --- Passes ---

    // One pass over all enabled rules, or over one rule, enabled or not. Nothing happens while another pass is running.
    // The task must not outlive the manager; a stop ends the pass between two listings.
    Task<> syncAll(SyncUrgency urgency, std::stop_token stop);
    Task<> syncRule(UUID id, SyncUrgency urgency, std::stop_token stop);

    // The same, in a task of the manager's own.
    void startSyncAll(SyncUrgency urgency) { scope_.start(syncAll(urgency, scope_.stopToken())); }

    void startSyncRule(const UUID& id, SyncUrgency urgency) { scope_.start(syncRule(id, urgency, scope_.stopToken())); }

    // Takes stock of the rule's folder: all that is there becomes known. True when the rule is initialized at the end.
    Task<bool> initializeRule(UUID id, std::stop_token stop);

    // --- Polling ---

    // A pass at once, and each next one 60 seconds after the last has ended. Anew, when it is under way already.
    void startPolling();

    // Ends at once what the polling waits for. May be called while one of its requests is being answered.
    void stopPolling();

    [[nodiscard]] bool isPolling() const { return pollingTask_.has_value(); }

    // --- Keeping ---

    // Returns when every change is written, or could not be. For the end of the program.
    Result<void> saveNow() { return store_.finish(); }

private:
    class RunningPass;
    using FileIDs = std::unordered_set<FileID>;

    // How much of a rule's folder a listing has.
    enum class Extent { whole, beginning };

    [[nodiscard]] static Extent extentOf(const FolderWalk& walk) {
        return walk.isComplete() ? Extent::whole : Extent::beginning;
    }

    Task<> runPolling(std::stop_token stop);
    Task<Result<std::monostate>> pauseBetweenPasses(std::stop_token stop);
    Task<> runInventory(UUID id);
    Task<> syncRuleAt(std::size_t index, SyncUrgency urgency, std::stop_token stop);
    [[nodiscard]] bool isDue(const SyncRule& rule, Timestamp now) const;
    [[nodiscard]] Result<std::filesystem::path> localFolder(const SyncRule& rule) const;
    void takeIn(std::size_t index, std::vector<ListedFile> listing, Extent extent, Timestamp passTime);
    void completeStock(std::size_t index, const std::vector<ListedFile>& listing);
    [[nodiscard]] FileIDs filesAskedFor(const SyncRule& rule, const FileIDs& unknown) const;
    [[nodiscard]] FileIDs filesInFlight(const SyncRule& rule, const FileIDs& unknown);
    void enqueue(const SyncRule& rule, const std::vector<ListedFile>& listing, FileIDs& inFlight,
                 const std::optional<UUID>& batch);
    void noteSynced(std::size_t index, FileIDs inFlight, Timestamp passTime);
    void adoptInventory(std::size_t index, const std::vector<ListedFile>& listing, Extent extent);
    void reportCutListing(const UUID& rule, const Error& reason);
    void reportSyncFailure(const UUID& rule, const std::string& name, const Error& error);
    void reportInventoryFailure(const UUID& rule, const std::string& name, const Error& error);
    void correctLastSync(std::size_t index, Timestamp now);

    [[nodiscard]] bool isForeign(const SyncRule& rule) const;

    [[nodiscard]] std::optional<std::size_t> indexOf(const UUID& id) const;
    [[nodiscard]] std::vector<std::size_t> settle(const UUID& rule, FileID fileID);
    [[nodiscard]] bool isUnsecured(const UUID& rule, FileID fileID) const;
    void noteSecured(const Download& item);
    void reportDoubt(const Download& item);
    [[nodiscard]] bool isOfBefore(const Download& item, const SyncRule& rule) const;
    void settleUnseen();

    void beginAnew(SyncRule& rule);

    // Keeps it with the rule and saves that, unless it is no news.
    void noteOutcome(const UUID& rule, std::optional<std::string> failure);

    void save() { store_.save(rules_, unsecured_); }

    void setSyncing(bool isSyncing);
    void setLastError(std::optional<std::string> text, const std::optional<UUID>& rule = std::nullopt);

    SyncPorts ports_;
    SyncRuleStore store_;
    PutIOAPI* api_ = nullptr;
    DownloadManager* downloadManager_ = nullptr;

    bool isAccountTold_ = false;
    std::optional<std::string> account_;
    std::vector<SyncRule> rules_;
    SyncRuleStore::Unsecured unsecured_;
    std::unordered_map<UUID, std::uint64_t> beginnings_;  // how often a rule began anew: an older listing is stale
    bool isSyncing_ = false;
    std::optional<std::string> lastError_;
    std::optional<UUID> lastErrorRule_;
    Signal<const SyncChange&> changes_;

    std::shared_ptr<SyncManager*> self_;  // the engine's callback holds it weakly
    Subscription watching_;
    Subscription securing_;
    std::optional<std::stop_source> pollingTask_;
    TaskScope scope_;
};

}  // namespace tovri
