// Links that are asked for ahead, and a file over several connections.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Links : public testing::Test {
public:
    // Comes in a tenth of a second, from its look-up on.
    FileID addFile(const std::string& name) {
        const FileID file = world.addFile(name, std::string(1000, 'x'));
        world.link(file).rate = 10'000;
        return file;
    }

    World world;
};

// Each look-up and each file takes its time: with the links at hand the files come twice as fast.
TEST_F(Links, areAskedForWhileTheSlotsAreBusy) {
    world.http.latency = 100ms;
    world.preferences.setMaxConcurrentDownloads(2);
    std::vector<ConstDownloadPointer> items;
    items.reserve(20);
    for (int i = 0; i < 20; ++i) items.push_back(world.enqueue(addFile("file " + std::to_string(i))));
    const auto begin = world.loop.now();
    for (const ConstDownloadPointer& item : items) EXPECT_TRUE(world.runUntil(item, Status::completed));
    EXPECT_LT(world.loop.now() - begin, 1700ms);
    EXPECT_EQ(world.http.requests.size(), 20U);
}

TEST_F(Links, areAskedForAnewWhereTheirFirstUseIsRefused) {
    world.preferences.setMaxConcurrentDownloads(1);
    world.enqueue(addFile("first"));
    const ConstDownloadPointer next = world.enqueue(addFile("next"));
    ASSERT_TRUE(world.loop.runUntil([&] { return world.http.requests.size() == 2; }, 50ms)) << "looked ahead";
    world.loop.advance(20ms);
    world.link(next->fileID).expired = 410;
    EXPECT_TRUE(world.runUntil(next, Status::completed)) << World::outcome(next);
    EXPECT_EQ(world.http.requests.size(), 3U);
    EXPECT_EQ(world.transfersOf(next->fileID), 2U);
}

TEST_F(Links, followTheOrderOfTheQueue) {
    world.http.latency = 10ms;
    world.preferences.setMaxConcurrentDownloads(1);
    world.enqueue(addFile("first"));
    const ConstDownloadPointer later = world.enqueue(addFile("later"));
    const ConstDownloadPointer next = world.enqueue(addFile("next"));
    world.loop.advance(50ms);
    world.manager().moveToTop(later);
    world.loop.advance(30ms);
    EXPECT_TRUE(world.http.requests.back().url.contains(later->fileID.text()));
    world.manager().pauseAll();
    EXPECT_EQ(world.http.requests.size(), 3U);
    world.loop.advance(2min);
    world.manager().resumeAll();
    EXPECT_TRUE(world.runUntil(next, Status::completed)) << World::outcome(next);
}

// --- A file over several connections ---

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

class LargeFiles {
public:
    LargeFiles() { world.preferences.setMaxConcurrentDownloads(2); }

    static std::string contentOf(std::size_t size, unsigned seed = 1) {
        std::string content(size, '\0');
        for (char& byte : content) byte = static_cast<char>((seed = seed * 1664525U + 1013904223U) >> 24U);
        return content;
    }

    // Each connection brings 4 MiB a second.
    FileID addFile(const std::string& name, std::size_t size) {
        const FileID file = world.addFile(name, contentOf(size));
        world.link(file).rate = static_cast<ByteCount>(4 * mebibyte);
        return file;
    }

    void list(FileID file) {
        Checksum checksum;
        checksum.add(world.contentOf(file));
        world.announceChecksum(file, checksum.text());
    }

    // Until it has arrived, and with its own bytes; how long that took.
    std::chrono::duration<double> arrive(const ConstDownloadPointer& item) {
        const auto begin = world.loop.now();
        EXPECT_TRUE(world.runUntil(item, Status::completed)) << World::outcome(item);
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_TRUE(world.files.content(World::downloads / item->fileName) == world.contentOf(item->fileID));
        return world.loop.now() - begin;
    }

    std::chrono::duration<double> fetch(FileID file) { return arrive(world.enqueue(file)); }

    [[nodiscard]] std::size_t mebibytesSent() const {
        return (static_cast<std::size_t>(world.storage.bytesSent) + mebibyte - 1) / mebibyte;
    }

    World world;
};

class Connections : public testing::Test, public LargeFiles {};

TEST_F(Connections, aLargeFileUsesSeveralWhereEachIsSlow) {
    const FileID file = addFile("film", 60 * mebibyte);
    list(file);
    const ConstDownloadPointer item = world.enqueue(file);
    EXPECT_LT(arrive(item), 5s);  // over one it is 15
    EXPECT_EQ(world.storage.highestConnected, 6);
    EXPECT_LE(mebibytesSent(), 61U) << "nothing comes twice";
    EXPECT_EQ(item->arrivedChecksum, item->crc32) << "put together of those of the parts";
    for (const std::string& operation : world.files.operations)
        EXPECT_FALSE(operation.starts_with("readAt " + World::partials.native())) << "nothing was read again";
}

TEST_F(Connections, aFileUsesOneWhereSeveralCouldNotBeHeldTogether) {
    struct Case {
        const char* what = "";
        std::function<void(LargeFiles&, FileID)> arrange;
        std::size_t size = 20 * mebibyte;
    };

    const Case cases[] = {
        {"too small", [](auto&, auto) {}, 15 * mebibyte},
        {"the volume keeps no room", [](LargeFiles& test, auto) { test.world.files.keepsRoom = false; }},
        {"nothing says that it is the same file",
         [](LargeFiles& test, FileID file) {
             test.world.link(file).breaks.push_back({.at = 100 * mebibyte, .isResumable = false});
         }},
        {"its length is not announced",
         [](LargeFiles& test, FileID file) { test.world.link(file).announcesLength = false; }},
        {"the user limits the speed", [](LargeFiles& test, auto) { test.world.transfers.limited = true; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        LargeFiles test;
        const FileID file = test.addFile("film", c.size);
        c.arrange(test, file);
        (void)test.fetch(file);
        EXPECT_EQ(test.world.storage.highestConnected, 1);
        EXPECT_EQ(test.world.storage.resumed, 0);
    }
}

TEST_F(Connections, aLimitThatTheUserSetsEndsTheOthers) {
    const ConstDownloadPointer item = world.enqueue(addFile("film", 60 * mebibyte));
    world.loop.advance(2500ms);
    ASSERT_GT(world.storage.running, 2);
    world.transfers.limited = true;
    world.loop.advance(200ms);
    EXPECT_EQ(world.storage.running, 1);
    (void)arrive(item);
}

TEST_F(Connections, aServerThatRefusesHasOne) {
    const FileID file = addFile("film", 40 * mebibyte);
    world.link(file).refusedResumes = 1000;
    (void)fetch(file);
    EXPECT_EQ(world.storage.highestConnected, 2);
    EXPECT_EQ(world.storage.resumed, 1) << "asked once";

    const FileID other = addFile("other", 40 * mebibyte);  // one that serves another part
    world.link(other).skippedInRange = 1;
    world.storage.highestConnected = 0;
    (void)fetch(other);
    EXPECT_EQ(world.storage.highestConnected, 2);
}

TEST_F(Connections, aBrokenOneIsMendedByTheOthers) {
    const FileID file = addFile("film", 60 * mebibyte);
    for (const std::size_t at : {33U, 40U, 48U, 55U})
        world.link(file).breaks.push_back({.at = static_cast<ByteCount>(at * mebibyte)});
    (void)fetch(file);
    EXPECT_LE(mebibytesSent(), 61U);
}

// Also one that has fallen silent near the end, so that nobody would be given a part of its rest.
TEST_F(Connections, aSilentOneIsNotWaitedForLong) {
    const FileID file = addFile("film", 60 * mebibyte);
    world.link(file).breaks = {{.at = 59 * mebibyte, .times = 100, .fault = TransportFault::silent}};
    const ConstDownloadPointer item = world.enqueue(file);
    ASSERT_TRUE(world.loop.runUntil([&] { return item->bytesDownloaded >= static_cast<ByteCount>(58 * mebibyte); }));
    world.link(file).breaks.front().times = 0;
    EXPECT_LT(arrive(item), 12s);  // 60 until it is given up by itself
}

// The first one waits for its next attempt, but bytes come all the same.
TEST_F(Connections, nothingIsWaitedForWhileOthersBringBytes) {
    const FileID file = addFile("film", 100 * mebibyte);
    world.link(file).breaks = {{.at = 8 * mebibyte}};
    std::vector<std::string> waits;
    world.watch = [&](DownloadManager&, const QueueChange& change) {
        if (change.item && change.item->hold) waits.push_back(change.item->hold->text);
    };
    (void)fetch(file);
    EXPECT_EQ(world.link(file).breaks.front().times, 0);
    EXPECT_EQ(waits, std::vector<std::string>());
}

TEST_F(Connections, onesThatAnotherItemNeedsAreGivenToIt) {
    const ConstDownloadPointer large = world.enqueue(addFile("film", 100 * mebibyte));
    world.loop.advance(2500ms);
    ASSERT_EQ(world.storage.running, 6);
    EXPECT_LT(fetch(addFile("book", mebibyte)), 500ms);
    (void)arrive(large);

    const ConstDownloadPointer one = world.enqueue(addFile("one", 100 * mebibyte));
    const ConstDownloadPointer two = world.enqueue(addFile("two", 100 * mebibyte));
    world.loop.advance(3s);
    EXPECT_EQ(world.storage.running, 6);
    EXPECT_NEAR(static_cast<double>(one->bytesDownloaded), static_cast<double>(two->bytesDownloaded), 1e6);
}

TEST_F(Connections, roomThatIsKeptIsNotCountedTwice) {
    world.files.setCapacity("/", static_cast<ByteCount>(100 * mebibyte));
    const ConstDownloadPointer large = world.enqueue(addFile("film", 60 * mebibyte));
    world.loop.advance(1500ms);
    ASSERT_GT(world.storage.running, 1);
    const ConstDownloadPointer other = world.enqueue(addFile("other", 30 * mebibyte));
    world.loop.advance(100ms);
    EXPECT_EQ(other->status, Status::downloading);
    EXPECT_FALSE(other->hold);
}

// What lies between the parts has its room on the volume, also after the end of a process.
TEST_F(Connections, roomBetweenPartsIsNotAskedForAgain) {
    for (const bool isPaused : {false, true}) {
        LargeFiles test;
        test.world.files.setCapacity("/", static_cast<ByteCount>(100 * mebibyte));
        const FileID file = test.addFile("film", 90 * mebibyte);
        test.world.enqueue(file);
        test.world.loop.advance(2500ms);
        ASSERT_EQ(test.world.storage.running, 6);
        if (isPaused) {
            test.world.manager().pause(test.world.find(file));
            ASSERT_TRUE(test.world.runUntil(test.world.find(file), Status::paused));
            test.world.manager().saveNow();
        }
        test.world.kill();
        test.world.start();
        test.world.loop.advance(10ms);
        test.world.manager().resumeAll();
        (void)test.arrive(test.world.find(file));
    }
}

// What comes from two contents is fetched anew once, and then over one connection.
TEST_F(Connections, contentsThatDoNotFitTogetherAreFetchedAnewOnce) {
    const FileID file = addFile("film", 40 * mebibyte);
    list(file);
    const ConstDownloadPointer item = world.enqueue(file);
    world.loop.advance(700ms);
    world.link(file).content = contentOf(40 * mebibyte, 2);  // for those that come later
    world.loop.advance(700ms);
    world.link(file).content = world.contentOf(file);
    ASSERT_TRUE(world.loop.runUntil([&] { return item->hasStartedOver; }, 1min));
    world.storage.resumed = 0;
    (void)arrive(item);
    EXPECT_EQ(world.storage.resumed, 0);
    EXPECT_LE(mebibytesSent(), 81U);
}

TEST_F(Connections, pauseAndKillKeepEveryPart) {
    const FileID file = addFile("film", 90 * mebibyte);
    list(file);
    world.enqueue(file);
    for (const bool isKilled : {false, true, false, true}) {
        world.loop.advance(1300ms);
        const ByteCount before = world.find(file)->bytesDownloaded;
        if (isKilled) {
            world.kill();
            world.start();
        } else {
            world.manager().pause(world.find(file));
            ASSERT_TRUE(world.runUntil(world.find(file), Status::paused));
            EXPECT_GE(world.find(file)->bytesDownloaded, before);
            world.manager().saveNow();
            world.kill();  // the token and the note say it all
            world.start();
            world.manager().resume(world.find(file));
        }
    }
    (void)arrive(world.find(file));
    EXPECT_LE(mebibytesSent(), 90U + 2 * 8 + 1) << "at most 8 MiB for each kill";
    for (const std::string& line : world.log.lines) EXPECT_FALSE(line.contains("Resume failed")) << line;
}

}  // namespace
}  // namespace tovri::test
