// What waits because its destination cannot take it, and what lets it go on.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "downloads/holding/DestinationBook.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using Path = std::filesystem::path;
using namespace std::chrono_literals;

class Holding : public testing::Test {
public:
    Holding() { world.files.addVolume(archive); }

    ConstDownloadPointer enqueue(const std::string& name, std::size_t size, const Path& folder) {
        return world.enqueue(world.addFile(name, std::string(size, 'x')),
                             {.destination = DestinationFolder{folder, std::nullopt}});
    }

    // So many bytes in so many seconds.
    ConstDownloadPointer enqueueSlow(const std::string& name, std::size_t size, int seconds, const Path& folder) {
        const FileID file = world.addFile(name, std::string(size, 'x'));
        world.link(file).rate = static_cast<ByteCount>(size) / seconds;
        return world.enqueue(file, {.destination = DestinationFolder{folder, std::nullopt}});
    }

    // The status, and what a queued one waits for.
    static std::string state(const ConstDownloadPointer& item) {
        return item->hold ? World::outcome(item) + ": " + item->hold->text : World::outcome(item);
    }

    void expectArrived(const ConstDownloadPointer& item) {
        EXPECT_TRUE(world.runUntil(item, Status::completed)) << state(item);
        EXPECT_EQ(world.files.content(*item->destinationFolder / item->fileName), world.contentOf(item->fileID));
        EXPECT_FALSE(item->hold);
    }

    static inline const Path archive = "/mnt/Archive";
    World world;
    DownloadManager& manager = world.manager();
};

TEST_F(Holding, waitsForRoomWhileTheOthersGoOn) {
    world.files.setCapacity(archive, 2000);
    world.preferences.setMaxConcurrentDownloads(1);
    const ConstDownloadPointer other = enqueue("other", 500, World::downloads);
    const ConstDownloadPointer small = enqueue("small", 1000, archive);
    const ConstDownloadPointer large = enqueue("large", 2000, archive);
    world.loop.advance(3s);
    EXPECT_EQ(state(large), "queued: Waiting for 2 KB on Archive");  // 1980 are for downloads
    EXPECT_EQ(state(small), "completed");
    EXPECT_EQ(state(other), "completed");
    EXPECT_EQ(world.transfersOf(large->fileID), 0U);
    EXPECT_EQ(manager.downloads().items().front(), large);
    EXPECT_TRUE(manager.hasUnfinishedWork());
    EXPECT_FALSE(manager.canRunNow());

    world.files.setCapacity(archive, 3200);  // 168 would be left
    world.preferences.setReservedMebibytes(0);
    expectArrived(large);
    EXPECT_EQ(world.transfersOf(large->fileID), 1U);
}

TEST_F(Holding, leavesEachThatRunsTheRoomThatItStillNeeds) {
    world.files.setCapacity(archive, 2500);
    const ConstDownloadPointer first = enqueueSlow("first", 1000, 10, archive);
    const ConstDownloadPointer second = enqueueSlow("second", 1000, 100, archive);
    const ConstDownloadPointer third = enqueueSlow("third", 1000, 10, archive);
    const ConstDownloadPointer tiny = enqueue("tiny", 400, archive);
    world.loop.advance(5s);
    EXPECT_EQ(state(third), "queued: Waiting for 1 KB on Archive");
    EXPECT_EQ(state(tiny), "completed");
    world.loop.advance(10s);
    EXPECT_EQ(state(first), "completed");  // what it got it has: nothing has become free
    EXPECT_EQ(state(third), "queued: Waiting for 1 KB on Archive");
    manager.cancel(second);
    world.loop.advance(10s + 100ms);  // its bytes stay as long as it can be taken back, and not until the next look
    EXPECT_EQ(state(third), "downloading");
    expectArrived(third);
}

TEST_F(Holding, keepsTheBytesOfATransferWhoseDiskFillsUp) {
    const ConstDownloadPointer item = enqueueSlow("movie", 100'000, 10, World::downloads);
    const ConstDownloadPointer other = enqueue("other", 500, archive);
    world.loop.advance(5s);
    world.files.setCapacity("/", 80'000);  // a part of it for the note
    world.loop.advance(3s);
    EXPECT_THAT(state(item), testing::StartsWith("queued: Waiting for 3"));
    EXPECT_GT(item->bytesDownloaded, 50'000);
    EXPECT_EQ(item->speed, BytesPerSecond());
    EXPECT_EQ(state(other), "completed");

    // The wait and the bytes survive the process.
    world.files.setCapacity("/", 1'000'000);
    manager.saveNow();
    world.kill();
    world.start();
    const ConstDownloadPointer again = world.find(item->fileID);
    expectArrived(again);
    EXPECT_EQ(world.storage.resumed, 1);
}

TEST_F(Holding, doesNotAskAgainAndAgainForRoomThatTheDiskOnlyClaimsToHave) {
    world.files.failNext("writeAt", {}, {ErrorCase::diskFull, "Your share is used up."}, 1000);
    const ConstDownloadPointer item = enqueue("f", 100, World::downloads);
    world.files.setCapacity("/", 1'000'000);
    world.loop.advance(1min);
    EXPECT_EQ(state(item), "queued: Waiting for 100 bytes on /");
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
    manager.retry(item);
    world.loop.advance(1s);
    EXPECT_EQ(world.transfersOf(item->fileID), 2U);
}

TEST_F(Holding, waitsForNamesAndFoldersThatCanBe) {
    world.files.setLongestName(archive, 60);
    world.files.put(archive / "closed" / "x", "");
    world.files.setReadOnly(archive / "closed", true);
    const ConstDownloadPointer named = enqueue(std::string(61, 'n'), 1, archive);
    const ConstDownloadPointer below = enqueue("f", 1, archive / std::string(62, 'f') / "g");
    const ConstDownloadPointer closed = enqueue("f", 1, archive / "closed" / "new");
    const ConstDownloadPointer fine = enqueue(std::string(60, 'n'), 1, archive / std::string(60, 'f'));
    world.loop.advance(20s);
    EXPECT_EQ(state(named), "queued: Waiting: its name has 61 bytes, Archive allows 60");
    EXPECT_EQ(state(below), "queued: Waiting: its name has 62 bytes, Archive allows 60");
    EXPECT_EQ(state(closed), "queued: Waiting: cannot write to /mnt/Archive/closed");
    EXPECT_EQ(state(fine), "completed");
    EXPECT_EQ(world.storage.started.size(), 1U);
    EXPECT_EQ(manager.activeCount(), 0U);

    world.files.setReadOnly(archive / "closed", false);
    world.files.setLongestName(archive, 61);
    expectArrived(closed);
    expectArrived(named);
    world.loop.advance(20s);
    EXPECT_EQ(state(below), "queued: Waiting: its name has 62 bytes, Archive allows 60");
}

TEST_F(Holding, createsNothingBeneathAMountPointWhoseVolumeIsAway) {
    expectArrived(enqueue("first", 10, archive / "Films"));
    world.files.unmount(archive);
    for (const bool isNewProcess : {false, true}) {
        SCOPED_TRACE(isNewProcess);
        if (isNewProcess) {
            manager.saveNow();
            world.kill();
            world.start();
        }
        for (const Path& folder : {archive / "Films", archive / "Series"}) {
            const ConstDownloadPointer item = world.enqueue(world.addFile("f", "f"), {.destination = {{folder, {}}}});
            world.loop.advance(20s);
            EXPECT_EQ(state(item), "queued: Waiting for Archive: /mnt/Archive is on / now");
            world.manager().remove(item);
        }
        EXPECT_TRUE(world.files.files(archive).empty());
    }
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", "f"), {.destination = {{archive, {}}}});
    world.loop.advance(20s);
    world.files.mount(archive);
    expectArrived(item);
    EXPECT_EQ(world.files.files(archive).size(), 2U);
}

TEST_F(Holding, keepsAFileWhoseDiskGoesAwayBeforeItIsPlaced) {
    const ConstDownloadPointer item = enqueueSlow("movie", 1000, 10, archive / "Films");
    world.loop.advance(5s);
    world.files.unmount(archive);
    world.loop.advance(20s);
    EXPECT_EQ(state(item), "queued: Waiting for Archive: /mnt/Archive is on / now");
    EXPECT_TRUE(world.files.files(archive).empty());
    EXPECT_FALSE(world.files.exists(archive / "Films"));
    world.files.mount(archive);
    expectArrived(item);
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
}

TEST_F(Holding, keepsAFileThatADiskTakesNoMore) {
    world.files.setCapacity(archive, 1'000'000);
    world.files.failNext("moveItem", archive / "movie", {ErrorCase::diskFull, "The disk is full."});
    const ConstDownloadPointer item = enqueue("movie", 1000, archive);
    world.loop.advance(3s);
    EXPECT_EQ(state(item), "queued: Waiting for room on Archive");
    EXPECT_TRUE(item->receivedFile);
    world.loop.advance(1min);  // it claims to have room, as before
    EXPECT_EQ(state(item), "queued: Waiting for room on Archive");
    world.files.setCapacity(archive, 100'000'000);
    expectArrived(item);
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
}

TEST_F(Holding, waitsForRoomForTheFolderThatReceivesAFileOfUnknownSize) {
    world.files.failNext("createPrivateFolder", {}, {ErrorCase::diskFull, "The disk is full."});
    world.files.setCapacity(archive, 0);
    const FileID file = world.addFile("f", "f");
    world.sizeless.insert(file);
    const ConstDownloadPointer item = world.enqueue(file, {.destination = {{archive, {}}}});
    world.loop.advance(1min);
    EXPECT_EQ(state(item), "queued: Waiting for room on Archive");
    world.files.setCapacity(archive, 100'000'000);
    expectArrived(item);
}

TEST_F(Holding, asksAboutATakenNameOnlyOnTheVolumeThatIsExpected) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    expectArrived(enqueue("f", 10, archive / "Films"));
    const ConstDownloadPointer before = enqueue("f", 20, archive / "Films");
    ASSERT_TRUE(world.runUntil(before, Status::awaitingConflict));
    manager.saveNow();
    world.kill();
    world.files.unmount(archive);
    world.start();
    world.loop.advance(20s);
    ConstDownloadPointer item = world.find(before->fileID);
    EXPECT_EQ(state(item), "queued: Waiting for Archive: /mnt/Archive is on / now");
    EXPECT_FALSE(world.files.exists(archive / "Films"));

    world.manager().saveNow();
    world.kill();
    world.start();
    world.files.mount(archive);
    item = world.find(before->fileID);
    ASSERT_TRUE(world.runUntil(item, Status::awaitingConflict)) << state(item);
    world.manager().resolveConflict(ConflictChoice::replace, false);
    expectArrived(item);
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
}

TEST_F(Holding, isToldToWhoeverReadsTheQueueFile) {
    const auto saved = [&] {
        const auto queue = decodeQueue(world.files.content(World::queueFile).value_or(""));
        const HoldPointer hold = queue && !queue->downloads.empty() ? queue->downloads.front().hold : nullptr;
        return hold ? hold->text : "";
    };
    world.files.setCapacity(archive, 10);
    const ConstDownloadPointer item = enqueue("f", 100, archive);
    world.loop.advance(2s);
    EXPECT_EQ(saved(), "Waiting for 100 bytes on Archive");
    world.kill();
    {
        DownloadManager editing(world.ports());
        editing.openForEditing();
        editing.moveToTop(editing.downloads().items().front());
        world.loop.advance(20s);
        editing.saveNow();
        EXPECT_EQ(saved(), "Waiting for 100 bytes on Archive");
    }
    world.files.setCapacity(archive, 1000);
    world.start();
    expectArrived(world.find(item->fileID));
    world.loop.advance(2s);
    EXPECT_EQ(saved(), "");
}

TEST_F(Holding, usesAFolderOnAnotherVolumeWhenTheUserSaysSo) {
    expectArrived(enqueue("first", 10, archive));
    world.files.unmount(archive);
    const ConstDownloadPointer item = enqueue("f", 1, archive);
    const ConstDownloadPointer second = enqueue("g", 1, archive / "below");
    world.loop.advance(1s);
    ASSERT_TRUE(item->hold);
    manager.useFolderAnyway(item);
    expectArrived(item);
    expectArrived(second);
    world.files.mount(archive);  // now this is the other one
    const ConstDownloadPointer third = enqueue("h", 1, archive);
    world.loop.advance(1s);
    EXPECT_EQ(state(third), "queued: Waiting for /: /mnt/Archive is on Archive now");
}

TEST_F(Holding, letsGoWhatTheUserTakesAway) {
    world.files.setCapacity(archive, 100);
    const ConstDownloadPointer removed = enqueue("removed", 200, archive);
    const ConstDownloadPointer cancelled = enqueue("cancelled", 200, archive);
    const ConstDownloadPointer paused = enqueue("paused", 200, archive);
    world.loop.advance(1s);
    EXPECT_EQ(manager.downloads().heldCount(), 3U);
    manager.remove(removed);
    manager.cancel(cancelled);
    manager.pauseAll();
    EXPECT_EQ(manager.downloads().heldCount(), 0U);
    EXPECT_EQ(state(paused), "paused");
    world.settle();  // nothing is looked at any more
    world.files.setCapacity(archive, 1000);
    manager.resumeAll();
    expectArrived(paused);
}

// What nobody could fetch must not pass through a slot one by one.
TEST_F(Holding, holdsALongQueueAtOnce) {
    world.files.setCapacity(archive, 100);
    manager.pauseAll();
    for (int i = 0; i < 5'000; ++i) enqueue("f", 200, archive);
    int starts = 0;
    world.watch = [&](DownloadManager&, const QueueChange& change) {
        if (change.kind == QueueChange::Kind::status && change.item->status == Status::downloading) ++starts;
    };
    manager.resumeAll();
    world.loop.advance(1s);
    EXPECT_EQ(manager.downloads().heldCount(), 5'000U);
    EXPECT_LE(starts, 20);
    starts = 0;
    world.files.setCapacity(archive, 1030);  // for five of them
    ASSERT_TRUE(world.loop.runUntil([&] { return manager.finishedDownloads().size() == 5; }, 10s));
    world.loop.advance(1min);
    EXPECT_EQ(starts, 5);
    EXPECT_EQ(manager.downloads().items().front()->status, Status::completed);
}

TEST_F(Holding, startsNothingWhileNobodyIsSignedIn) {
    world.preferences.setMaxConcurrentDownloads(1);
    world.http.handler = [](const HTTPRequest&) { return HTTPResponse{401, ""}; };
    const ConstDownloadPointer later = enqueue("later", 1, archive);
    const ConstDownloadPointer refused = enqueue("refused", 1, archive);
    world.loop.advance(1min);
    EXPECT_EQ(state(later), "failed: Not authenticated. Please sign in again.");
    EXPECT_EQ(state(refused), "queued");
    EXPECT_FALSE(manager.canRunNow());
    EXPECT_LE(world.http.requests.size(), 2U) << "one looked ahead";
}

TEST(DestinationBook, knowsWhichVolumeEachFolderWasOn) {
    const auto facts = [](Path existing, Path mountPoint, std::string identity) {
        DestinationFacts facts;
        facts.volume.folder = std::move(existing);
        facts.volume.identity = std::move(identity);
        facts.mountPoint = std::move(mountPoint);
        return facts;
    };
    DestinationBook book;
    EXPECT_TRUE(book.note("/home/ann/Films", facts("/home/ann", "/", "root")));
    EXPECT_TRUE(book.note("/mnt/a/x/y", facts("/mnt/a/x", "/mnt/a", "A")));
    EXPECT_FALSE(book.note("/mnt/a/x/z", facts("/mnt/a/x/z", "/mnt/a", "A")));  // below one that is known

    struct Case {
        const char* why = "";
        const char* folder = "";
        DestinationFacts facts;
        bool isExpected = false;
    };

    const Case cases[] = {
        {"as before", "/mnt/a/x/y", facts("/mnt/a/x/y", "/mnt/a", "A"), true},
        {"unmounted", "/mnt/a/x/y", facts("/mnt/a", "/", "root"), false},
        {"another folder of the unmounted volume", "/mnt/a/z", facts("/mnt/a", "/", "root"), false},
        {"its mount point went with it", "/mnt/a/x", facts("/mnt", "/", "root"), false},
        {"another disk at the same place", "/mnt/a/x", facts("/mnt/a/x", "/mnt/a", "B"), false},
        {"a disk over a folder that was none", "/home/ann/Films", facts("/home/ann", "/home/ann", "C"), false},
        {"a new disk below", "/home/ann/disk", facts("/home/ann/disk", "/home/ann/disk", "C"), true},
        {"a folder beside it", "/home/annette", facts("/home", "/home", "D"), true},
    };
    const DestinationBook read = DestinationBook::decode(book.encode() + "torn");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(book.contradiction(c.folder, c.facts) == nullptr, c.isExpected);
        EXPECT_EQ(read.contradiction(c.folder, c.facts) == nullptr, c.isExpected);
    }
    for (int i = 0; i < 1000; ++i)
        book.note("/mnt/b/" + std::to_string(i), facts("/mnt/b/" + std::to_string(i), "/", "root"));
    EXPECT_LT(book.encode().size(), 30'000U);
}

}  // namespace
}  // namespace tovri::test
