// Random weeks of a machine that watches folders, each from its seed: every file that appears after a rule's inventory
// comes once, none that was there before comes at all. TOVRI_SEED=17 replays one.
#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "support/Seeds.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using std::chrono::milliseconds;
using Files = std::set<FileID>;

// What a rule owes since it was made, or led to another folder: each such beginning has a local folder of its own.
struct Promise {
    UUID rule;
    FolderID folder;
    SyncWorld::Path local;
    bool isInventoried = false;
    Files old;   // in one place from before the beginning until the inventory had ended
    Files seen;  // there at any time
    Files news;  // came after the inventory
};

class Scenario {
public:
    explicit Scenario(std::uint64_t seed) : dice_(seed), losesPower_(seed % 3 == 0) {
        world().preferences.setMaxConcurrentDownloads(1 + static_cast<std::int64_t>(roll(4)));
        world().background.latency = milliseconds(roll(2) * roll(300));
        for (const char* lane : {"rules", "saves"})
            world().volumes.longestDelays[lane] = milliseconds(roll(2) * roll(2000));
        world().http.latency = milliseconds(1 + roll(200));
        for (const char* name : {"Shows", "Films"}) {
            const FolderID folder = world().addFolder(name);
            roots_.push_back(folder);
            folders_[folder] = rootFolderID;
            folders_[world().addFolder("inside", folder)] = folder;
        }
        for (int i = 0; i < 6; ++i) addFile();
        home_.told = [this](const SyncChange& change) { noteInventory(change); };
        begin();
        for (int i = 0; i < 2; ++i) addRule();
    }

    void run() {
        for (int step = 0; step < 60; ++step) {
            act();
            world().loop.advance(milliseconds(roll(3) == 0 ? roll(90'000) : roll(700)));
            follow();
        }
        finish();
        check();
    }

private:
    World& world() { return home_.world; }

    std::size_t roll(std::size_t sides) { return dice_() % sides; }

    template <class Range>
    auto any(const Range& range) {
        return *std::next(range.begin(), static_cast<std::ptrdiff_t>(roll(range.size())));
    }

    // --- put.io ---

    void addFile() {
        const FolderID folder = any(folders_).first;
        const FileID file = world().addFile("file " + std::to_string(++fileCount_), "", folder);
        SimulatedStorage::Link& link = world().link(file);
        link.content = "content of " + file.text() + std::string(roll(3000), '.');
        link.rate = static_cast<ByteCount>(500 + roll(5000));
        if (roll(3) == 0)
            link.breaks.push_back({.at = static_cast<ByteCount>(roll(2000)), .isResumable = roll(2) == 0});
        if (roll(6) == 0) world().refusals[file] = 1;
        world().announceSize(file, static_cast<ByteCount>(link.content.size()));
        present_[file] = folder;
    }

    [[nodiscard]] Files below(FolderID folder) const {
        Files files;
        for (const auto& [file, place] : present_)
            if (place == folder || folders_.at(place) == folder) files.insert(file);
        return files;
    }

    // Looks where the files are now.
    void follow() {
        for (const FileID file : world().deletions) present_.erase(file);
        for (Promise& promise : promises_) {
            if (!isKept(promise)) continue;
            for (const FileID file : below(promise.folder))
                if (promise.seen.insert(file).second && promise.isInventoried) promise.news.insert(file);
            if (!promise.isInventoried)
                std::erase_if(promise.old, [&](FileID file) { return !below(promise.folder).contains(file); });
        }
    }

    // --- rules ---

    // The latest of its rule, which still exists.
    [[nodiscard]] bool isKept(const Promise& promise) const {
        const auto latest = std::ranges::find(promises_.rbegin(), promises_.rend(), promise.rule, &Promise::rule);
        return home_.sync->find(promise.rule) && &*latest == &promise;
    }

    void promise(const UUID& rule, FolderID folder, const SyncWorld::Path& local) {
        promises_.push_back({rule, folder, local, false, below(folder), below(folder), {}});
    }

    [[nodiscard]] SyncWorld::Path newLocalFolder() const { return World::downloads / std::to_string(promises_.size()); }

    void addRule() {
        const FolderID folder = any(folders_).first;
        SyncRule rule = home_.newRule(folder, "rule " + std::to_string(promises_.size()));
        rule.localFolderPath = newLocalFolder().native();
        rule.deleteAfterDownload = roll(2) == 0;
        rule.pollIntervalMinutes = static_cast<std::int64_t>(roll(3));
        promise(rule.id, folder, rule.localFolderPath);
        home_.sync->addRule(rule);
        home_.sync->saveNow().value();
    }

    void noteInventory(const SyncChange& change) {
        if (change.kind != SyncChange::Kind::ruleChanged) return;
        const SyncRule& rule = home_.sync->rules()[change.index];
        follow();
        for (Promise& promise : promises_)
            if (promise.rule == rule.id && isKept(promise) && promise.folder == rule.putioFolderID)
                promise.isInventoried = rule.isInitialized;
    }

    void edit() {
        if (home_.sync->rules().empty()) return addRule();
        SyncRule rule = !opened_.empty() && roll(2) == 0 ? any(opened_) : any(home_.sync->rules());
        const SyncRule* const stored = home_.sync->find(rule.id);
        if (!stored) return;
        const std::size_t action = roll(8);
        if (action < 3) {
            opened_.push_back(rule);
            return;
        }
        if (action == 3) {
            home_.sync->deleteRule(rule.id);
            home_.sync->saveNow().value();
            return addRule();
        }
        if (action == 4) rule.putioFolderID = any(folders_).first;
        rule.isEnabled = roll(3) > 0;
        rule.localFolderPath = stored->localFolderPath;
        if (rule.putioFolderID != stored->putioFolderID) {
            rule.localFolderPath = (roll(2) == 0 ? any(promises_).local : newLocalFolder()).native();
            promise(rule.id, rule.putioFolderID, rule.localFolderPath);
        }
        home_.sync->updateRule(rule);
        home_.sync->saveNow().value();
    }

    // --- what happens ---

    void act() {
        const std::size_t action = roll(20);
        if (action < 6) return addFile();
        if (action == 6 && !present_.empty()) {
            const FileID file = any(present_).first;
            present_.erase(file);
            world().takeAway(file);
        } else if (action == 7 && !present_.empty()) {
            world().rename(any(present_).first, "renamed " + std::to_string(++fileCount_));
        } else if (action == 8 && !present_.empty()) {
            const FileID file = any(present_).first;
            world().move(file, present_[file] = any(folders_).first);
            for (Promise& promise : promises_)  // from where is still to be listed to where has been
                if (!promise.isInventoried) promise.old.erase(file);
        } else if (action < 11) {
            endProcess();
        } else if (action < 14) {
            edit();
        } else if (action == 14) {
            home_.refusal = 401;
        } else if (action == 15) {
            signIn();
        } else if (action == 16 && roll(2) == 0) {
            takeLocalFileAway();
        } else if (action == 16) {
            home_.sync->startSyncAll(SyncUrgency::forced);
        } else {
            control();
        }
        follow();
    }

    // The user needs one of the files no more.
    void takeLocalFileAway() {
        if (present_.empty() || promises_.empty()) return;
        const FileID file = any(present_).first;
        const SyncWorld::Path folder = any(promises_).local;
        for (const auto& [path, content] : world().files.files(folder)) {
            if (content != world().link(file).content) continue;
            world().files.removeItem(path).value();
            takenAway_.insert(file);
            return;
        }
    }

    void control() {
        DownloadManager& queue = world().manager();
        const std::size_t action = roll(8);
        if (action == 0) return queue.pauseAll();
        if (action < 3) return queue.resumeAll();
        if (action == 3) return queue.clearFinished();
        if (queue.downloads().items().empty()) return;
        const ConstDownloadPointer item = any(queue.downloads().items());
        if (action == 4) {
            unwanted_.insert({*item->syncRuleID, item->fileID});
            queue.cancel(item);
        } else if (action == 5) {
            if (item->status != Status::failed) unwanted_.insert({*item->syncRuleID, item->fileID});
            queue.remove(item);
        } else if (action == 6) {
            queue.pause(item);
        } else {
            queue.resume(item);
        }
    }

    void signIn() {
        home_.refusal.reset();
        world().signIn();
    }

    // As the application object does.
    void begin() {
        watching_ = world().auth().onChange([this](AuthManager::Change) {
            world().auth().isAuthenticated() ? home_.sync->startPolling() : home_.sync->stopPolling();
        });
        if (world().auth().isAuthenticated()) home_.sync->startPolling();
    }

    void endProcess() {
        watching_.reset();
        opened_.clear();
        if (roll(4) == 0) {
            world().manager().saveNow();
            home_.sync->saveNow().value();
        }
        if (losesPower_ && roll(2) == 0) {
            ++powerLosses_;
            home_.losePower();
        } else {
            home_.kill();
        }
        home_.start();
        begin();
    }

    // The network is mended and the user goes on with everything.
    void finish() {
        world().refusals.clear();
        home_.sync->stopPolling();
        home_.settle();  // a 401 may be on its way still
        signIn();
        home_.sync->stopPolling();
        home_.settle();
        for (int round = 0; round < 6; ++round) {
            if (round == 4) {
                home_.restart();
                world().manager().clearFinished();
            }
            world().manager().resumeAll();
            for (const SyncRule& rule : std::vector(home_.sync->rules())) {
                home_.sync->startSyncRule(rule.id, SyncUrgency::forced);
                home_.settle();
            }
            follow();
        }
    }

    // --- what must hold ---

    // How often the file stands below the folder, under whatever name.
    [[nodiscard]] std::size_t copies(FileID file, const SyncWorld::Path& folder) {
        return static_cast<std::size_t>(std::ranges::count(world().files.files(folder), world().link(file).content,
                                                           [](const auto& entry) { return entry.second; }));
    }

    // How many promises put their files into the same local folder.
    [[nodiscard]] std::size_t sharing(const Promise& promise) const {
        return static_cast<std::size_t>(std::ranges::count(promises_, promise.local, &Promise::local));
    }

    [[nodiscard]] bool mayComeByAnother(const Promise& promise, FileID file) const {
        return std::ranges::any_of(promises_, [&](const Promise& other) {
            return &other != &promise && other.local == promise.local && other.seen.contains(file) &&
                   !other.old.contains(file);
        });
    }

    void check() {
        for (const Promise& promise : promises_) {
            SCOPED_TRACE("promise in " + promise.local.native());
            for (const FileID file : promise.old)
                if (!mayComeByAnother(promise, file))
                    EXPECT_EQ(copies(file, promise.local), 0U) << file.text() << " was there before";
            for (const FileID file : promise.seen)
                EXPECT_LE(copies(file, promise.local), sharing(promise) + powerLosses_) << file.text() << " came twice";
            if (!isKept(promise)) continue;
            const Files present = below(promise.folder);
            for (const FileID file : promise.news)
                if (present.contains(file) && !unwanted_.contains({promise.rule, file}) && !takenAway_.contains(file))
                    EXPECT_TRUE(hasArrived(file, promise.rule)) << file.text() << " was missed";
            for (const FileID file : home_.rule(promise.rule).pendingFileIDs)
                EXPECT_FALSE(home_.rule(promise.rule).knownFileIDs.contains(file)) << file.text();
        }
    }

    [[nodiscard]] bool hasArrived(FileID file, const UUID& rule) {
        return std::ranges::any_of(
            promises_, [&](const Promise& promise) { return promise.rule == rule && copies(file, promise.local) > 0; });
    }

    std::mt19937_64 dice_;
    bool losesPower_;
    std::size_t powerLosses_ = 0;
    int fileCount_ = 0;
    std::vector<FolderID> roots_;
    std::map<FolderID, FolderID> folders_;  // with the one above
    std::map<FileID, FolderID> present_;    // files with their folder
    std::vector<Promise> promises_;
    std::vector<SyncRule> opened_;                // copies that an editor has kept for a while
    std::set<FileID> takenAway_;                  // of which the user removed a local copy
    std::set<std::pair<UUID, FileID>> unwanted_;  // the user took them out of the queue
    SyncWorld home_;
    Subscription watching_;
};

TEST(SyncScenario, keepsItsPromisesWhateverHappens) {
    forEachSeed(400, [](std::uint64_t seed) { Scenario(seed).run(); });
}

}  // namespace
}  // namespace tovri::test
