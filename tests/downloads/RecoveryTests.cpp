// A process that dies at any moment, and the next one.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

// Every way that a file can take: to a free name, to a taken one, alone or with its folder deleted from put.io.
class Journey : public World {
public:
    Journey() {
        storage.latency = std::chrono::milliseconds(300);  // so that saves fall between the steps
        background.latency = std::chrono::milliseconds(150);
        preferences.setMaxConcurrentDownloads(2);
        preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        files.put(downloads / "taken.txt", "the user's");
        const std::int64_t slow = addFile("slow", "slow bytes");
        link(slow).rate = 10;
        const std::int64_t folder = addFolder("F");
        addFile("one", "1", folder);
        addFile("two", "22", addFolder("G", folder));
        paused_ = enqueue(slow)->id;
        enqueue(addFile("plain", "some bytes"));
        enqueue(addFile("taken.txt", "put.io's"));
        enqueue(addFile("moved", "deleted afterwards"), {.deleteAfterDownload = true});
        enqueueFolder(folder, true);
        loop.advance(std::chrono::milliseconds(50));
        manager().saveNow();
        pausing_ = loop.schedule(std::chrono::milliseconds(2700), [this] {
            if (!isRunning()) return;
            if (const DownloadPointer item = manager().downloads().find(paused_)) manager().pause(item);
        });
    }

    void finish() {
        settle();
        manager().resumeAll();
        settle();
    }

    // A folder that had not been queued by the end of the process is not queued by the next one.
    [[nodiscard]] bool isAllThere() {
        const std::string expected =
            "moved=deleted afterwards plain=some bytes slow=slow bytes taken (1).txt=put.io's "
            "taken.txt=the user's";
        return tree() == expected || tree() == "F/G/two=22 F/one=1 " + expected;
    }

    // What was queued and not yet saved is forgotten with the process; nothing else may be missing.
    [[nodiscard]] bool hasSavedAll() {
        const auto saved = files.content(queueFile);
        return saved && saved->find("\"fileName\": \"one\"") != std::string::npos;
    }

    void checkRest() {
        EXPECT_TRUE(files.files(staging).empty());
        EXPECT_TRUE(files.files(partials).empty());
        for (const DownloadPointer& item : manager().downloads().items()) {
            const bool mayAsk = item->status == Download::Status::remoteDeleteFailed;
            EXPECT_TRUE(item->status == Download::Status::completed || mayAsk)
                << item->fileName << " " << outcome(item);
        }
    }

private:
    UUID paused_;
    Subscription pausing_;
};

TEST(Recovery, arrivesAtTheSameTreeWhereverTheProcessWasKilled) {
    for (int steps = 0, hasEnded = 0; !hasEnded; ++steps) {
        SCOPED_TRACE("killed after step " + std::to_string(steps));
        Journey journey;
        int left = steps;
        hasEnded = !journey.loop.runUntil([&] { return left-- == 0; }, std::chrono::seconds(8));
        const bool hadAll = journey.hasSavedAll();
        journey.kill();
        journey.settle();  // what the dead process had posted finds nobody
        journey.start();
        journey.finish();
        if (hadAll) EXPECT_TRUE(journey.isAllThere()) << journey.tree();
        journey.checkRest();
        if (HasFailure()) return;
    }
}

TEST(Recovery, leavesNoFileTwiceWhicheverStepOnTheDiskWasTheLast) {
    for (int operations = 1, hasEnded = 0; !hasEnded; ++operations) {
        SCOPED_TRACE("killed after operation " + std::to_string(operations));
        Journey journey;
        journey.files.stopAfter(operations);
        hasEnded = !journey.loop.runUntil([&] { return journey.files.hasStopped(); }, std::chrono::seconds(8));
        const bool hadAll = journey.hasSavedAll();
        journey.kill();
        journey.start();
        journey.finish();
        if (hadAll) EXPECT_TRUE(journey.isAllThere()) << journey.tree();
        journey.checkRest();
        if (HasFailure()) return;
    }
}

TEST(Recovery, losesNothingThatWasDeletedWhenThePowerGoes) {
    for (int steps = 0, hasEnded = 0; !hasEnded; ++steps) {
        SCOPED_TRACE("without power after step " + std::to_string(steps));
        Journey journey;
        int left = steps;
        hasEnded = !journey.loop.runUntil([&] { return left-- == 0; }, std::chrono::seconds(8));
        const bool hadAll = journey.hasSavedAll();
        journey.losePower();
        journey.start();
        journey.finish();
        if (!hadAll) continue;
        EXPECT_EQ(journey.files.content(World::downloads / "moved"), "deleted afterwards") << journey.tree();
        EXPECT_EQ(journey.files.content(World::downloads / "F/G/two"), "22") << journey.tree();
        for (const DownloadPointer& item : journey.manager().downloads().items())
            EXPECT_NE(item->status, Download::Status::failed) << item->fileName << " " << World::outcome(item);
        if (HasFailure()) return;
    }
}

// The name and the journal may survive a loss of power without the file's bytes.
TEST(Recovery, takesNoFileForArrivedThatLostItsBytes) {
    World world;
    const std::int64_t lost = world.addFile("lost", "all of the bytes");
    const std::int64_t deleted = world.addFile("deleted", "deleted afterwards");
    world.link(deleted).rate = 180;
    world.enqueue(lost);
    const DownloadPointer last = world.enqueue(deleted, {.deleteAfterDownload = true});
    world.manager().saveNow();
    ASSERT_TRUE(world.runUntil(last, Download::Status::deleting));  // takes the folder and the journal to the disk
    world.losePower();
    ASSERT_EQ(world.files.content(World::downloads / "lost"), "");
    world.start();
    world.settle();
    const DownloadPointer item = world.find(lost);
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.content(*item->resolvedURL), "all of the bytes");
}

// What is replaced may be the only copy: put.io has deleted its own.
TEST(Recovery, losesNeitherTheOldNorTheNewFileWhenThePowerGoes) {
    World world;
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    world.enqueue(world.addFile("f", "the only copy"), {.deleteAfterDownload = true});
    world.settle();
    const DownloadPointer item = world.enqueue(world.addFile("f", "the next one"));
    ASSERT_TRUE(world.runUntil(item, Download::Status::completed));
    world.enqueue(world.addFile("g", "g"), {.deleteAfterDownload = true});  // takes the folder to the disk
    world.settle();
    world.losePower();
    EXPECT_EQ(world.files.content(World::downloads / "f"), "the next one");
}

}  // namespace
}  // namespace tovri::test
