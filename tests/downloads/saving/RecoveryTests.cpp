// A process that dies at any moment, and the next one.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

// Every way that a file can take: to a free name, to a taken one, alone or with its folder deleted from put.io.
class Journey : public World {
public:
    explicit Journey(bool isOnOtherVolume) {
        if (isOnOtherVolume) files.addVolume("/home");
        storage.latency = std::chrono::milliseconds(300);  // so that saves fall between the steps
        volumes.longestDelays["saves"] = std::chrono::milliseconds(300);
        preferences.setMaxConcurrentDownloads(2);
        preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        files.put(downloads / "taken.txt", "the user's");
        const FileID slow = addFile("slow", "slow bytes");
        link(slow).rate = 10;
        const FolderID folder = addFolder("F");
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
            if (const ConstDownloadPointer item = manager().downloads().find(paused_)) manager().pause(item);
        });
    }

    void finish() {
        settle();
        manager().resumeAll();
        settle();
    }

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
        for (const auto& [path, content] : files.files("/home"))
            EXPECT_EQ(path.native().find(".tovri-"), std::string::npos) << path;
        for (const ConstDownloadPointer& item : manager().downloads().items()) {
            const bool mayAsk = item->status == Download::Status::remoteDeleteFailed;
            EXPECT_TRUE(item->status == Download::Status::completed || mayAsk)
                << item->fileName << " " << outcome(item);
        }
    }

private:
    UUID paused_;
    Subscription pausing_;
};

// Ends a journey after one step, another after two, and so on up to its last one. `stop` lets the journey run up to
// the step and says whether there was one.
template <class Stop, class End, class Check>
void endAtEveryStep(bool isOnOtherVolume, Stop stop, End end, Check check) {
    for (int step = 1;; ++step) {
        SCOPED_TRACE("ended after step " + std::to_string(step));
        Journey journey(isOnOtherVolume);
        const bool hasStopped = stop(journey, step);
        const bool hadAll = journey.hasSavedAll();
        end(journey);
        journey.settle();  // what the dead process had posted finds nobody
        journey.start();
        journey.finish();
        if (hadAll) check(journey);
        if (!hasStopped || testing::Test::HasFailure()) return;
    }
}

// The same with the downloads on the data folder's volume, and on another one.
template <class Stop, class End, class Check>
void endAtEveryStep(Stop stop, End end, Check check) {
    endAtEveryStep(false, stop, end, check);
    endAtEveryStep(true, stop, end, check);
}

bool stopAfterJob(Journey& journey, int count) {
    return journey.loop.runUntil([&] { return count-- == 0; }, std::chrono::seconds(8));
}

bool stopAfterDiskOperation(Journey& journey, int count) {
    journey.files.stopAfter(count);
    return journey.loop.runUntil([&] { return journey.files.hasStopped(); }, std::chrono::seconds(8));
}

void checkTree(Journey& journey) {
    EXPECT_TRUE(journey.isAllThere()) << journey.tree();
    journey.checkRest();
}

void checkDeleted(Journey& journey) {
    EXPECT_EQ(journey.files.content(World::downloads / "moved"), "deleted afterwards");
    EXPECT_EQ(journey.files.content(World::downloads / "F/G/two"), "22");
    for (const ConstDownloadPointer& item : journey.manager().downloads().items())
        EXPECT_NE(rawValue(item->status), "failed") << item->fileName << " " << World::outcome(item);
}

TEST(Recovery, arrivesAtTheSameTreeWhereverTheProcessWasKilled) {
    endAtEveryStep(stopAfterJob, [](Journey& journey) { journey.kill(); }, checkTree);
}

TEST(Recovery, leavesNoFileTwiceWhicheverStepOnTheDiskWasTheLast) {
    endAtEveryStep(stopAfterDiskOperation, [](Journey& journey) { journey.kill(); }, checkTree);
}

TEST(Recovery, losesNothingThatWasDeletedWhenThePowerGoes) {
    endAtEveryStep(stopAfterJob, [](Journey& journey) { journey.losePower(); }, checkDeleted);
}

// The name and the journal may survive a loss of power without the file's bytes.
TEST(Recovery, takesNoFileForArrivedThatLostItsBytes) {
    World world;
    const FileID lost = world.addFile("lost", "all of the bytes");
    world.files.put(World::downloads / "other", "the user's");
    const ConstDownloadPointer arriving = world.enqueue(lost);
    world.manager().saveNow();
    ASSERT_TRUE(world.runUntil(arriving, Download::Status::completed));
    for (const World::Path& path : {World::downloads / "other", World::data / "placements.journal"})
        ASSERT_TRUE(world.files.makeDurable(path));  // and with it the folder
    world.losePower();
    ASSERT_EQ(world.files.content(World::downloads / "lost"), "");
    world.start();
    world.settle();
    const ConstDownloadPointer item = world.find(lost);
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.content(*item->resolvedURL), "all of the bytes");
}

// What is replaced may be the only copy.
TEST(Recovery, losesNeitherTheOldNorTheNewFileWhenThePowerGoes) {
    World world;
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    world.files.put(World::downloads / "f", "the only copy");
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", "the next one"));
    ASSERT_TRUE(world.runUntil(item, Download::Status::completed));
    world.enqueue(world.addFile("g", "g"), {.deleteAfterDownload = true});  // takes the folder to the disk
    world.settle();
    world.losePower();
    EXPECT_EQ(world.files.content(World::downloads / "f"), "the next one");
}

}  // namespace
}  // namespace tovri::test
