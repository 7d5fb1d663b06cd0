// What has arrived reaches the disk, and what the machine loses before that is found out and fetched again.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Durable : public testing::Test {
public:
    [[nodiscard]] std::size_t syncsOf(const World::Path& path) const {
        return static_cast<std::size_t>(std::ranges::count(world.files.operations, "makeDurable " + path.native()));
    }

    [[nodiscard]] bool isOnDisk(const std::string& name) {
        return world.files.durableFiles().contains(World::downloads / name);
    }

    // One whose end the queue file has, and perhaps not yet the disk.
    ConstDownloadPointer arrived(const std::string& name, const std::string& content = "some bytes") {
        const ConstDownloadPointer item = world.enqueue(world.addFile(name, content));
        EXPECT_TRUE(world.runUntil(item, Status::completed));
        world.manager().saveNow();
        return item;
    }

    Result<void> secure() {
        secured_.reset();
        TaskScope scope;
        scope.start(waitUntilSecured());
        EXPECT_TRUE(world.loop.runUntil([&] { return secured_.has_value(); }));
        return secured_.value_or(failure(Error(ErrorCase::file, "It never ended.")));
    }

    World world;

private:
    Task<> waitUntilSecured() {
        Result<void> secured = co_await world.manager().secure({});
        secured_ = std::move(secured);
    }

    std::optional<Result<void>> secured_;
};

TEST_F(Durable, takesTheFilesOfTwoSecondsToTheDiskTogether) {
    const World::Path journal = World::data / "placements.journal";
    const ConstDownloadPointer first = arrived("a");
    world.loop.advance(500ms);
    const ConstDownloadPointer second = arrived("b");
    EXPECT_FALSE(isOnDisk("a") || first->durable);
    world.loop.advance(1600ms);
    EXPECT_TRUE(isOnDisk("a") && isOnDisk("b"));
    EXPECT_TRUE(first->durable == true && second->durable == true);
    EXPECT_EQ(syncsOf(World::downloads / "a"), 1U);
    EXPECT_LE(syncsOf(journal), 1U) << "none where the queue file says it already";
    world.settle();
    world.kill();
    world.start();
    world.settle();
    EXPECT_EQ(world.find(second->fileID)->durable, true);
    EXPECT_EQ(syncsOf(World::downloads / "b"), 1U);
}

TEST_F(Durable, waitsForNobodyWhoWaits) {
    arrived("a");
    EXPECT_TRUE(secure());
    EXPECT_TRUE(isOnDisk("a"));
    arrived("b");
    bool isDone = false;
    world.manager().suspend([&] { isDone = true; });
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 200ms));
    EXPECT_TRUE(isOnDisk("b"));
}

TEST_F(Durable, isHeldUpByItsOwnVolumeOnly) {
    world.files.addVolume("/mnt/slow");
    const ConstDownloadPointer slow =
        world.enqueue(world.addFile("slow", "x"), {.destination = DestinationFolder{"/mnt/slow", std::nullopt}});
    ASSERT_TRUE(world.runUntil(slow, Status::completed));
    const std::string lane = "volume " + std::to_string(world.files.identity("/mnt/slow")->volume);
    world.volumes.hang(lane + " sync");
    const ConstDownloadPointer other = arrived("other");
    world.loop.advance(3s);
    EXPECT_EQ(other->durable, true);
    EXPECT_FALSE(slow->durable);
    bool isDone = false;
    world.manager().suspend([&] { isDone = true; });
    world.loop.advance(1100ms);
    EXPECT_FALSE(isDone);
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 200ms));
}

// A disk that has refused once says yes the next time, although the bytes are lost.
TEST_F(Durable, isNotSaidOfAFileThatTheDiskHasRefused) {
    world.files.failNext("makeDurable", World::downloads / "a", {ErrorCase::file, "Cannot save a: bad disk."});
    const ConstDownloadPointer item = arrived("a");
    const Result<void> secured = secure();
    ASSERT_FALSE(secured);
    EXPECT_EQ(secured.error().description, "Cannot save a: bad disk.");
    EXPECT_EQ(World::outcome(item), "completed: Cannot save a: bad disk.");
    world.manager().saveNow();
    world.kill();
    world.start();
    world.settle();
    EXPECT_EQ(world.find(item->fileID)->durable, false);
    EXPECT_FALSE(secure());
    world.losePower();
    world.start();
    world.settle();
    EXPECT_EQ(world.find(item->fileID)->durable, true);
    EXPECT_EQ(world.transfersOf(item->fileID), 2U);

    world.files.failNext("makeDurable", World::downloads / "b", {ErrorCase::file, "Cannot save b: bad disk."});
    const FileID deleted = world.addFile("b", "b");
    world.enqueue(deleted, {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(World::outcome(world.find(deleted)),
              "remoteDeleteFailed: The disk has refused to keep \"b\". Nothing was deleted from put.io.");
    // After the next start of the machine the disk shows what it has.
    world.manager().saveNow();
    world.kill();
    ++world.clock.starts;
    world.start();
    world.settle();
    world.manager().retryDelete(world.find(deleted));
    world.settle();
    EXPECT_EQ(World::outcome(world.find(deleted)), "completed");
}

TEST_F(Durable, whatTheMachineHasLostIsFetchedAgain) {
    struct Case {
        const char* what = nullptr;
        std::optional<std::string> left;  // of "some bytes"
        bool isFetchedAgain = false;
        const char* tree = nullptr;
    };

    const Case cases[] = {
        {"all", std::nullopt, true, "a=some bytes"},          {"its bytes", "", true, "a=some bytes"},
        {"its end", "some", true, "a=some a (1)=some bytes"}, {"its content", std::string(10, '\0'), true, nullptr},
        {"nothing", "some bytes", false, "a=some bytes"},
    };
    for (const bool isPaused : {false, true}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(c.what);
            World other;
            other.preferences.setConflictBehavior(ConflictBehavior::keepBoth);
            const ConstDownloadPointer item = other.enqueue(other.addFile("a", "some bytes"));
            ASSERT_TRUE(other.runUntil(item, Status::completed));
            if (isPaused) other.manager().pauseAll();
            other.manager().saveNow();
            other.losePower();
            if (c.left) other.files.put(World::downloads / "a", *c.left);
            other.start();
            other.settle();
            const ConstDownloadPointer found = other.find(item->fileID);
            if (isPaused && c.isFetchedAgain) {
                EXPECT_EQ(World::outcome(found), "paused");
                continue;
            }
            EXPECT_EQ(World::outcome(found), "completed");
            EXPECT_EQ(found->durable, true);
            EXPECT_EQ(other.transfersOf(item->fileID), c.isFetchedAgain ? 2U : 1U);
            EXPECT_EQ(other.log.lines.size(), c.isFetchedAgain ? 1U : 0U);
            EXPECT_EQ(other.files.content(*found->resolvedURL), "some bytes");
            if (c.tree) EXPECT_EQ(other.tree(), c.tree);
        }
    }
}

TEST_F(Durable, whatTheUserHasTakenAwayIsNotFetchedAgain) {
    const ConstDownloadPointer soon = arrived("soon");
    ASSERT_TRUE(world.files.removeItem(World::downloads / "soon"));  // before it was durable
    world.takenAway = {World::downloads / "soon", World::downloads / "later"};
    const ConstDownloadPointer later = arrived("later");
    world.settle();
    ASSERT_TRUE(world.files.removeItem(World::downloads / "later"));
    world.losePower();
    world.start();
    world.settle();
    arrived("killed");
    ASSERT_TRUE(world.files.removeItem(World::downloads / "killed"));
    world.kill();
    world.start();
    world.settle();
    for (const ConstDownloadPointer& item : world.manager().downloads().items()) {
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.transfersOf(item->fileID), 1U);
    }
}

// An earlier version says neither what is durable nor since when.
TEST_F(Durable, whatAnEarlierVersionHasCompletedIsTakenAsItIs) {
    arrived("a");
    world.kill();
    auto queue = decodeQueue(*world.files.content(World::queueFile)).value();
    queue.bootID.reset();
    std::string text;
    ASSERT_TRUE(encodeQueue(queue, [&](std::string_view piece) {
        text += piece;
        return Result<void>();
    }));
    world.files.put(World::queueFile, text);
    world.losePower();
    world.takenAway = {World::downloads / "a"};
    for (int i = 0; i < 2; ++i) {
        world.start();
        world.settle();
        EXPECT_EQ(World::outcome(world.manager().downloads().items()[0]), "completed");
        EXPECT_EQ(world.tree(), "");
        world.losePower();
    }
}

// Only what lies there waits for it. What was found out before the next kill need not be found out again, and what was
// not is.
TEST_F(Durable, aFolderThatHangsHoldsUpTheStartOfItsOwnItemsOnly) {
    world.files.addVolume("/mnt/slow");
    const DownloadManager::EnqueueOptions there = {.destination = DestinationFolder{"/mnt/slow", std::nullopt}};
    const FileID placed = world.addFile("placed", "placed bytes");
    const FileID completed = world.addFile("completed", "completed bytes");
    ASSERT_TRUE(world.runUntil(world.enqueue(completed, there), Status::completed));
    const ConstDownloadPointer last = world.enqueue(placed, there);
    world.manager().saveNow();
    ASSERT_TRUE(world.runUntil(last, Status::completed));  // which only the journal knows
    world.kill();
    ++world.clock.starts;
    for (int i = 0; i < 2; ++i) {
        world.volumes.hang("folder /mnt/slow");
        world.start();
        const FileID other = world.addFile("other", "o");
        ASSERT_TRUE(world.runUntil(world.enqueue(other), Status::completed));
        world.loop.advance(10s);
        EXPECT_EQ(World::outcome(world.find(placed)), "queued");
        EXPECT_TRUE(world.manager().mayBeLost(*world.find(completed)));
        world.manager().saveNow();
        world.kill();
    }
    world.volumes.goOn("folder /mnt/slow");
    ASSERT_TRUE(world.files.removeItem("/mnt/slow/completed"));  // as if the machine had lost it
    world.start();
    world.settle();
    EXPECT_EQ(World::outcome(world.find(placed)), "completed");
    EXPECT_EQ(world.transfersOf(placed), 1U);
    EXPECT_EQ(world.transfersOf(completed), 2U);
    EXPECT_EQ(world.files.files("/mnt/slow").size(), 2U);
}

}  // namespace
}  // namespace tovri::test
