// What the queue file's writer and the placement journal make sure of, however slow or broken the disk.
#include <algorithm>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/WholeText.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class Saving : public testing::Test {
public:
    Saving() {
        world.preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        world.settle();
    }

    [[nodiscard]] std::size_t count(const std::string& operation) const {
        return static_cast<std::size_t>(std::ranges::count(world.files.operations, operation));
    }

    [[nodiscard]] std::size_t writes() const { return count("writeFileAtomically " + World::queueFile.native()); }

    [[nodiscard]] std::size_t notes() const { return count("appendToFile " + journal.native()); }

    [[nodiscard]] std::string saved() { return world.files.content(World::queueFile).value_or(""); }

    [[nodiscard]] ByteCount savedSize() { return *world.files.fileSize(World::queueFile); }

    [[nodiscard]] DownloadManager& manager() { return world.manager(); }

    ConstDownloadPointer enqueue(const std::string& name) {
        return world.enqueue(world.addFile(name, "content of " + name));
    }

    // So many files, each a while on its way, which the queue file knows.
    void enqueueMany(int files, ByteCount rate) {
        for (int i = 0; i < files; ++i) world.link(enqueue("file " + std::to_string(i))->fileID).rate = rate;
        ASSERT_TRUE(manager().saveNow());
    }

    // Begins anew with a queue file that is longer than what is written at every occasion.
    void makeQueueLong() {
        world.kill();
        QueueSnapshot snapshot;
        for (int i = 0; i < 50; ++i) {
            DownloadRecord record;
            record.id = world.random.makeUUID();
            record.destinationFolder = std::make_shared<const World::Path>(World::downloads);
            record.status = Status::failed;
            record.error = std::string(100'000, 'x');
            snapshot.downloads.push_back(std::move(record));
        }
        world.files.put(World::queueFile,
                        wholeText([&](const FileManager::Sink& sink) { return encodeQueue(snapshot, sink); }));
        world.start();
        world.settle();
    }

    static inline const World::Path journal = World::data / "placements.journal";
    static constexpr ByteCount mebibyte = ByteCount{1} << 20U;

    World world;
};

TEST_F(Saving, oneSaveRunsAndOneWaits) {
    world.volumes.hang("saves");
    const std::size_t before = writes();
    for (int i = 0; i < 5; ++i) {
        enqueue("file " + std::to_string(i));
        world.loop.advance(2s);
    }
    EXPECT_EQ(manager().downloads().count(Status::completed), 5U);  // nothing waits for the queue file
    EXPECT_EQ(writes(), before);
    world.volumes.goOn("saves");
    world.settle();
    EXPECT_LE(writes(), before + 3) << "the one that hung, the one that waited, and that of the durable files";
    EXPECT_THAT(saved(), HasSubstr("file 4"));
    EXPECT_FALSE(world.files.exists(journal));
}

TEST_F(Saving, aVolumeThatHangsHoldsUpNoSave) {
    world.files.addVolume("/home");
    const std::string lane = "volume " + std::to_string(world.files.identity("/home")->volume);
    world.volumes.hang(lane);
    for (int i = 0; i < 4; ++i) enqueue("file " + std::to_string(i));
    world.loop.advance(5s);
    manager().pauseAll();
    world.loop.advance(500ms);
    EXPECT_THAT(saved(), HasSubstr("\"isPaused\": true"));
    world.volumes.goOn(lane);
}

TEST_F(Saving, theLastSaveIsTheLastWord) {
    world.volumes.longestDelays["saves"] = 5s;
    manager().pauseAll();
    world.loop.advance(401ms);  // its save is under way
    EXPECT_THAT(saved(), Not(HasSubstr("\"isPaused\": true")));
    manager().resumeAll();
    EXPECT_TRUE(manager().saveNow());
    const std::string text = saved();
    EXPECT_THAT(text, HasSubstr("\"isPaused\": false"));
    world.loop.advance(10s);
    EXPECT_EQ(saved(), text);
}

TEST_F(Saving, theEndOfTheProgramDoesNotWaitForADiskThatHangs) {
    int told = 0;
    world.watch = [&](DownloadManager&, const QueueChange& change) {
        told += change.kind == QueueChange::Kind::saving;
    };
    world.volumes.hang("saves");
    manager().pauseAll();
    EXPECT_FALSE(manager().saveNow());
    EXPECT_THAT(manager().saveFailure().value_or(""), HasSubstr("takes too long"));
    EXPECT_THAT(world.log.lines,
                testing::Contains(HasSubstr("[DownloadStore] Failed to write queue: The disk takes too long")));
    EXPECT_FALSE(manager().saveNow());
    EXPECT_EQ(told, 1);
    manager().resumeAll();
    world.volumes.goOn("saves");
    world.settle();
    EXPECT_EQ(told, 2);
    EXPECT_FALSE(manager().saveFailure());
    EXPECT_THAT(saved(), HasSubstr("\"isPaused\": false"));
}

TEST_F(Saving, isTriedAgainWhereNothingElseChanges) {
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."}, 2);
    manager().pauseAll();
    world.loop.advance(20s);
    EXPECT_EQ(manager().saveFailure(), "The queue cannot be saved. The disk is full.");
    world.loop.advance(50s);
    EXPECT_FALSE(manager().saveFailure());
    EXPECT_THAT(saved(), HasSubstr("\"isPaused\": true"));
}

TEST_F(Saving, aLongQueueIsWrittenAtTwoMebibytesASecond) {
    makeQueueLong();
    enqueueMany(300, 20);
    std::size_t before = writes();
    world.loop.advance(60s);
    EXPECT_GT(manager().downloads().count(Status::completed), 100U);
    EXPECT_LE(static_cast<ByteCount>(writes() - before) * savedSize(), 60 * 2 * mebibyte + savedSize());
    EXPECT_GT(writes() - before, 20U);  // but no less often than that allows

    for (const bool isPaused : {true, false}) {  // what the user does is written as ever
        before = writes();
        isPaused ? manager().pauseAll() : manager().resumeAll();
        world.loop.advance(410ms);
        EXPECT_EQ(writes(), before + 1);
        EXPECT_EQ(saved().contains("\"isPaused\": true"), isPaused);
        world.loop.advance(500ms);
    }
}

TEST_F(Saving, aShortQueueIsWrittenWhenATransferHasEnded) {
    const ConstDownloadPointer item = enqueue("f");
    manager().saveNow();
    ASSERT_TRUE(world.runUntil(item, Status::completed));
    world.loop.advance(410ms);
    EXPECT_THAT(saved(), HasSubstr("\"completed\""));
}

// --- The journal covers what the queue file does not say yet ---

TEST_F(Saving, aLongQueueLosesNothingOfWhatItHasNotWritten) {
    makeQueueLong();
    enqueueMany(60, 60);
    std::mt19937_64 dice(1);
    std::size_t unsaved = 0;
    for (int kills = 0; kills < 40; ++kills) {
        world.loop.advance(std::chrono::milliseconds(dice() % 900));
        const std::size_t completed = manager().downloads().count(Status::completed);
        world.kill();
        const std::string text = saved();
        std::size_t known = 0;
        for (auto at = text.find("\"completed\""); at != std::string::npos; at = text.find("\"completed\"", at + 1))
            ++known;
        unsaved += completed - known;
        world.start();
        world.loop.advance(50ms);  // what had arrived is looked for
        EXPECT_GE(manager().downloads().count(Status::completed), completed);
    }
    EXPECT_GT(unsaved, 10U);
    world.settle();
    EXPECT_EQ(world.files.files(World::downloads).size(), 60U);
    EXPECT_EQ(manager().downloads().count(Status::completed), 60U);
}

TEST_F(Saving, theJournalForgetsNothingThatCouldNotBeWritten) {
    const ConstDownloadPointer item = enqueue("f");
    ASSERT_TRUE(manager().saveNow());
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."}, 3);
    ASSERT_TRUE(world.runUntil(item, Status::completed));
    world.loop.advance(1s);
    EXPECT_FALSE(manager().saveNow());
    world.kill();
    world.start();
    world.loop.advance(1min);
    EXPECT_EQ(World::outcome(world.find(item->fileID)), "completed");
    EXPECT_EQ(world.tree(), "f=content of f");
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
    EXPECT_FALSE(world.files.exists(journal));
}

// A save may fall between the moment in which a file gets its name and the one in which its item says so.
TEST_F(Saving, theJournalKeepsAFileWhileItIsMadeDurable) {
    for (auto moment = 0ms; moment < 3s; moment += 50ms) {
        World other;
        other.preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        other.volumes.longestDelay = 1s;
        const ConstDownloadPointer item = other.enqueue(other.addFile("f", "new"), {.deleteAfterDownload = true});
        ASSERT_TRUE(other.manager().saveNow());
        other.loop.advance(moment);
        if (item->status == Status::completed) break;
        ASSERT_TRUE(other.manager().saveNow());
        other.kill();
        other.start();
        other.settle();
        EXPECT_EQ(other.tree(), "f=new") << moment.count() << " ms";
    }
}

}  // namespace
}  // namespace tovri::test
