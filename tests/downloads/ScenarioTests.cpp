// Random days of a queue, each from its seed: what must hold whatever the user, the network, the disk and the power do.
// TOVRI_SEED=17 replays one.
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/Seeds.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using std::chrono::milliseconds;

class Scenario {
public:
    explicit Scenario(std::uint64_t seed)
        : dice_(seed), losesPower_(seed % 4 == 0), hasMeddler_(seed % 5 == 0), isOnOtherVolume_(seed % 3 == 0) {
        if (isOnOtherVolume_) world_.files.addVolume("/home");
        limit_ = 1 + static_cast<std::int64_t>(roll(4));
        world_.preferences.setMaxConcurrentDownloads(limit_);
        world_.preferences.setConflictBehavior(conflictBehaviors[roll(conflictBehaviors.size())]);
        world_.background.latency = milliseconds(roll(2) * roll(300));
        world_.volumes.longestDelays["saves"] = milliseconds(roll(2) * roll(2000));
        world_.http.latency = milliseconds(1 + roll(200));
        world_.volumes.longestDelay = milliseconds(roll(2) * roll(300));
        for (int i = 0; i < 5; ++i) loose_.push_back(addFile("file " + std::to_string(i)));
        for (std::size_t faults = roll(4); faults > 0; --faults)
            world_.files.failNext("moveItem", World::downloads / ("file " + std::to_string(roll(5))),
                                  {ErrorCase::file, "The disk is broken."});
        for (int i = 0; i < 2; ++i) {
            const FolderID folder = world_.addFolder("folder " + std::to_string(i));
            for (int k = 0; k < 2; ++k) addFile("member " + std::to_string(k), folder);
            addFile("deep", world_.addFolder("inside", folder));
            folders_.push_back(folder);
        }
        addFile("bad/name");
        for (const char* name : {"file 0", "file 1", "folder 0/member 0"}) addUsersFile(name);
        world_.watch = [this](DownloadManager& queue, const QueueChange&) { meddle(queue); };
    }

    void run() {
        for (int step = 0; step < 40; ++step) {
            act();
            world_.loop.advance(milliseconds(roll(2) == 0 ? roll(50) : roll(700)));
            EXPECT_LE(world_.manager().activeCount(), static_cast<std::size_t>(limit_));
            checkUsersFiles();
        }
        finish();
        check();
    }

private:
    std::size_t roll(std::size_t sides) { return dice_() % sides; }

    FileID addFile(const std::string& name, FolderID folder = rootFolderID) {
        const FileID file = world_.addFile(name, "", folder);
        SimulatedStorage::Link& link = world_.link(file);
        link.content = "content of " + file.text() + std::string(roll(3000), '.');
        link.rate = static_cast<ByteCount>(1000 + roll(10'000));
        if (roll(3) == 0)
            link.breaks.push_back({.at = static_cast<ByteCount>(roll(2000)), .isResumable = roll(2) == 0});
        if (roll(3) == 0) link.refusedResumes = 1;
        if (roll(6) == 0) world_.refusals[file] = 1;
        world_.announceSize(file, static_cast<ByteCount>(link.content.size()));
        contents_[file] = link.content;
        return file;
    }

    void addUsersFile(const std::string& name) {
        usersFiles_[World::downloads / name] = "the user's " + name;
        world_.files.put(World::downloads / name, "the user's " + name);
    }

    ConstDownloadPointer any() {
        const ItemOrder& items = world_.manager().downloads().items();
        return items.empty() ? nullptr : items[roll(items.size())];
    }

    void act() {
        DownloadManager& queue = world_.manager();
        const std::size_t action = roll(16);
        if (action < 4 && !loose_.empty()) {
            world_.enqueue(loose_[roll(loose_.size())], {.deleteAfterDownload = roll(3) == 0});
        } else if (action < 6 && !folders_.empty()) {
            world_.enqueueFolder(folders_.back(), roll(3) > 0);
            folders_.pop_back();
        } else if (action == 6) {
            (roll(2) == 0) ? queue.pauseAll() : queue.resumeAll();
        } else if (action == 7) {
            answer();
        } else if (action == 8 && roll(3) == 0) {
            (roll(2) == 0) ? queue.clearFinished() : queue.cancelAll();
        } else if (action == 9 || action == 10) {
            endProcess();
        } else if (const ConstDownloadPointer item = any()) {
            control(queue, item);
        }
    }

    void control(DownloadManager& queue, const ConstDownloadPointer& item) {
        switch (roll(9)) {
            case 0:
            case 1:
                return queue.pause(item);
            case 2:
            case 3:
                return queue.resume(item);
            case 4:
                return queue.cancel(item);
            case 5:
                return queue.retry(item);
            case 6:
                return queue.remove(item);
            case 7:
                return queue.moveToTop(item);
            default:
                return queue.retryDelete(item);
        }
    }

    void answer() {
        DownloadManager& queue = world_.manager();
        if (!queue.pendingConflict()) return;
        const auto choice = static_cast<ConflictChoice>(roll(3));
        const bool isForAll = roll(3) == 0;
        mayReplace_ |= choice == ConflictChoice::replace;
        queue.resolveConflict(choice, isForAll);
    }

    // An observer that calls back.
    void meddle(DownloadManager& queue) {
        if (!hasMeddler_ || isMeddling_ || roll(30) > 0) return;
        isMeddling_ = true;
        if (const ConstDownloadPointer item = any()) control(queue, item);
        isMeddling_ = false;
    }

    void endProcess() {
        if (roll(3) == 0) {
            bool isDone = false;
            world_.manager().suspend([&] { isDone = true; });
            EXPECT_TRUE(world_.loop.runUntil([&] { return isDone; }, std::chrono::seconds(2)));
            world_.manager().saveNow();
        }
        if (losesPower_ && roll(2) == 0)
            world_.losePower();
        else
            world_.kill();
        world_.start();
    }

    // The network is mended, the user answers every question and tries again what failed.
    void finish() {
        hasMeddler_ = false;
        for (int round = 0; round < 4; ++round) {
            world_.manager().resumeAll();
            world_.settle();
            while (world_.manager().pendingConflict()) {
                answer();
                world_.settle();
            }
            for (const ConstDownloadPointer& item : world_.manager().downloads().withStatus(Status::failed))
                if (item->fileName != "bad/name") world_.manager().retry(item);
        }
        world_.settle();
        world_.manager().saveNow();
        world_.kill();
        world_.start();
        world_.settle();
    }

    [[nodiscard]] bool mayReplace() const {
        return mayReplace_ || world_.preferences.conflictBehavior() == ConflictBehavior::replace;
    }

    void checkUsersFiles() {
        if (mayReplace()) return;
        for (const auto& [path, content] : usersFiles_) EXPECT_EQ(world_.files.content(path), content) << path;
    }

    void check() {
        checkUsersFiles();
        EXPECT_LE(world_.storage.highestRunning, limit_);
        EXPECT_TRUE(world_.files.files(World::staging).empty());
        std::size_t partials = 0;
        for (const ConstDownloadPointer& item : world_.manager().downloads().items()) {
            SCOPED_TRACE(item->fileName + " " + World::outcome(item));
            if (item->receivedFile || item->status == Status::failed) ++partials;
            EXPECT_TRUE(isFinished(item->status));
            // What the user has given up since need not survive a loss of power.
            if (item->resolvedURL && (item->status == Status::completed || !losesPower_))
                EXPECT_EQ(world_.files.content(*item->resolvedURL), contents_[item->fileID]);
        }
        EXPECT_LE(world_.partialFiles().size(), partials);
        std::ranges::sort(world_.deletions);
        EXPECT_EQ(std::ranges::adjacent_find(world_.deletions), world_.deletions.end());
        if (!losesPower_) checkTree();
    }

    // Every file is one of the user's, or a whole one of put.io's. (An item that was cancelled in the moment in which
    // its file replaced another leaves the new one, and so does one that was cancelled just before the process died.)
    void checkTree() {
        for (const auto& [path, content] : world_.files.files(World::downloads)) {
            if (usersFiles_.contains(path) && (mayReplace() || usersFiles_[path] == content)) continue;
            const bool isForARetry = path.native().find("/.tovri-") != std::string::npos;
            if (isForARetry && world_.manager().downloads().count(Status::failed) > 0) continue;
            EXPECT_TRUE(std::ranges::any_of(contents_, [&](const auto& entry) { return entry.second == content; }))
                << path << " is nobody's";
        }
    }

    std::mt19937_64 dice_;
    bool losesPower_;
    bool hasMeddler_;
    bool isOnOtherVolume_;
    bool isMeddling_ = false;
    bool mayReplace_ = false;
    std::int64_t limit_ = 0;
    std::vector<FileID> loose_;
    std::vector<FolderID> folders_;
    std::map<FileID, std::string> contents_;
    std::map<World::Path, std::string> usersFiles_;
    World world_;
};

TEST(Scenario, keepsItsPromisesWhateverHappens) {
    forEachSeed(500, [](std::uint64_t seed) { Scenario(seed).run(); });
}

}  // namespace
}  // namespace tovri::test
