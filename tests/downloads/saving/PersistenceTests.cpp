// When the queue is saved, and what a new process makes of it.
#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/WholeText.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Persistence : public testing::Test {
public:
    [[nodiscard]] std::size_t writes() const {
        return static_cast<std::size_t>(
            std::ranges::count(world.files.operations, "writeFileAtomically " + World::queueFile.native()));
    }

    [[nodiscard]] DownloadRecord record(const std::string& name, Status status) {
        DownloadRecord item;
        item.id = world.random.makeUUID();
        item.fileName = name;
        item.fileSize = 10;
        item.destinationFolder = std::make_shared<const World::Path>(World::downloads);
        item.status = status;
        return item;
    }

    // The next process finds this queue.
    void restart(const QueueSnapshot& snapshot) {
        world.kill();
        world.files.put(World::queueFile,
                        wholeText([&](const FileManager::Sink& sink) { return encodeQueue(snapshot, sink); }));
        world.start();
    }

    [[nodiscard]] DownloadManager& manager() { return world.manager(); }

    World world;
};

TEST_F(Persistence, gathersChangesIntoOneWrite) {
    world.volumes.longestDelay = 0ms;
    world.settle();
    std::size_t before = writes();
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", std::string(1000, 'x')));
    world.link(item->fileID).rate = 20;  // takes 50 seconds
    world.loop.advance(50ms);
    world.enqueue(world.addFile("g", "g"));
    manager().moveDown(manager().downloads().items()[1]);  // is the last already
    world.loop.advance(349ms);
    EXPECT_EQ(writes(), before);
    world.loop.advance(1ms);
    EXPECT_EQ(writes(), before + 1);  // 0.4 seconds after the first change
    world.loop.advance(1s);
    before = writes();
    world.loop.advance(20s);
    EXPECT_NEAR(static_cast<double>(writes() - before), 4, 1);  // progress alone: every 5 seconds

    before = writes();
    world.loop.advance(100ms);
    manager().moveUp(item);
    world.loop.advance(399ms);
    EXPECT_EQ(writes(), before);
    world.loop.advance(1ms);
    EXPECT_EQ(writes(), before + 1);  // brought forward
    manager().moveToTop(item);        // is there already
    manager().saveNow();
    EXPECT_EQ(writes(), before + 2);
}

TEST_F(Persistence, writesNothingBeforeTheQueueWasRead) {
    world.settle();
    world.kill();
    world.files.put(World::queueFile, "precious");
    DownloadManager bare(world.ports());
    bare.pauseAll();
    bare.saveNow();
    world.settle();
    EXPECT_EQ(world.files.content(World::queueFile), "precious");
}

TEST_F(Persistence, triesAgainAfterAFailedWrite) {
    world.settle();
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."});
    manager().pauseAll();
    world.settle();
    EXPECT_THAT(world.log.lines, testing::ElementsAre("[DownloadStore] Failed to write queue: The disk is full."));
    manager().resumeAll();
    manager().pauseAll();
    world.settle();
    world.kill();
    world.start();
    EXPECT_TRUE(manager().isPaused());
}

TEST_F(Persistence, forgetsFinishedItemsAfterThirtyDays) {
    struct Case {
        const char* name = nullptr;
        Status status = Status::queued;
        std::optional<std::chrono::hours> completed;
        std::optional<std::chrono::hours> started;
        bool isKept = false;
    };

    const Case cases[] = {
        {"31 days", Status::completed, 31 * 24h, 50 * 24h, false},
        {"29 days", Status::completed, 29 * 24h, 50 * 24h, true},
        {"30 days", Status::skipped, 30 * 24h, {}, true},
        {"never ended", Status::failed, {}, 40 * 24h, false},
        {"no date", Status::cancelled, {}, {}, true},
        {"refused", Status::remoteDeleteFailed, 31 * 24h, {}, false},
        {"waiting", Status::paused, {}, 40 * 24h, true},
    };
    QueueSnapshot snapshot;
    std::string kept;
    for (const Case& c : cases) {
        DownloadRecord item = record(c.name, c.status);
        if (c.completed) item.completedAt = world.clock.now() - *c.completed;
        if (c.started) item.startedAt = world.clock.now() - *c.started;
        snapshot.downloads.push_back(item);
        if (c.isKept) kept += std::string(c.name) + " ";
    }
    restart(snapshot);
    const auto names = [&] {
        std::string text;
        for (const ConstDownloadPointer& item : manager().downloads().items()) text += item->fileName + " ";
        return text;
    };
    EXPECT_EQ(names(), kept);
    world.loop.advance(24h * 2);
    manager().saveNow();
    EXPECT_EQ(names(), kept);  // what is shown stays until the next start
    const auto saved = world.files.content(World::queueFile);
    EXPECT_EQ(saved->find("29 days"), std::string::npos);
    EXPECT_NE(saved->find("waiting"), std::string::npos);
}

TEST_F(Persistence, putsEveryStatusIntoAStateFromWhichItCanGoOn) {
    struct Case {
        Status saved;
        bool hasToken;
        const char* whenPaused;
        const char* whenRunning;
        double progress;
    };

    const Case cases[] = {
        {Status::queued, false, "paused", "queued", 0.5},
        {Status::downloading, true, "paused", "queued", 0.5},
        {Status::downloading, false, "paused", "queued", 0},
        {Status::awaitingConflict, false, "paused", "queued", 0},  // without its staged file
        {Status::paused, true, "paused", "paused", 0.5},
        {Status::completed, false, "completed", "completed", 0.5},
        {Status::failed, true, "failed: why", "failed: why", 0.5},
        {Status::cancelled, false, "cancelled", "cancelled", 0.5},
        {Status::skipped, false, "skipped", "skipped", 0.5},
        {Status::deleting, false, "remoteDeleteFailed: Interrupted before put.io confirmed the deletion.",
         "remoteDeleteFailed: Interrupted before put.io confirmed the deletion.", 0.5},
        {Status::remoteDeleteFailed, false, "remoteDeleteFailed", "remoteDeleteFailed", 0.5},
    };
    for (const bool isPaused : {true, false}) {
        QueueSnapshot snapshot;
        snapshot.isPaused = isPaused;
        snapshot.folderGroupExpectedCounts = {{"not a UUID", 3}};
        for (const Case& c : cases) {
            DownloadRecord item = record("f", c.saved);
            item.progress = 0.5;
            item.bytesDownloaded = 5;
            if (c.hasToken) item.resumeData = "token";
            if (c.saved == Status::failed) item.error = "why";
            if (c.saved == Status::awaitingConflict) item.stagedURL = World::staging / "gone";
            snapshot.downloads.push_back(item);
        }
        world.preferences.setMaxConcurrentDownloads(0);  // so that nothing starts
        restart(snapshot);
        ASSERT_EQ(manager().downloads().items().size(), std::size(cases));
        for (std::size_t i = 0; i < std::size(cases); ++i) {
            SCOPED_TRACE(rawValue(cases[i].saved));
            const Download& item = *manager().downloads().items()[i];
            EXPECT_EQ(World::outcome(manager().downloads().items()[i]),
                      isPaused ? cases[i].whenPaused : cases[i].whenRunning);
            EXPECT_EQ(item.progress, cases[i].progress);
            EXPECT_EQ(item.bytesDownloaded, cases[i].progress > 0 ? 5 : 0);
            EXPECT_EQ(item.resumeData.has_value(), cases[i].hasToken);
            EXPECT_FALSE(item.stagedURL);
        }
    }
}

TEST_F(Persistence, takesNoFileForStagedThatIsNotItsOwn) {
    const World::Path letter = World::downloads / "letters/letter.txt";
    const World::Path stagedFolder = World::staging / "folder";
    for (const World::Path& named :
         {World::downloads / "letters", letter, World::staging / "../../../downloads/letters", stagedFolder,
          World::staging / "folder/letter.txt"}) {
        SCOPED_TRACE(named.native());
        world.files.put(letter, "dear");
        QueueSnapshot snapshot;
        snapshot.downloads.push_back(record("taken", Status::awaitingConflict));
        snapshot.downloads.back().stagedURL = named.native();
        world.kill();
        world.files.put(World::queueFile,
                        wholeText([&](const FileManager::Sink& sink) { return encodeQueue(snapshot, sink); }));
        world.files.put(stagedFolder / "letter.txt", "staged");
        world.start();
        const ConstDownloadPointer item = manager().downloads().items().front();
        EXPECT_FALSE(item->stagedURL);
        manager().cancel(item);
        world.settle();
        EXPECT_EQ(world.files.content(letter), "dear");
    }
}

TEST_F(Persistence, keepsAnUnreadableQueueAside) {
    const std::string newer = R"({"version":2,"isPaused":true,"downloads":[],"folderGroupExpectedCounts":{}})";
    int number = 0;
    for (const std::string& text : {std::string("{\"version\":1"), newer, std::string()}) {
        world.kill();
        world.files.put(World::queueFile, text);
        world.log.lines.clear();
        world.start();
        EXPECT_THAT(world.log.lines,
                    testing::ElementsAre("[DownloadStore] Ignoring unreadable queue at " + World::queueFile.native()));
        EXPECT_FALSE(manager().isPaused());
        world.settle();
        EXPECT_TRUE(decodeQueue(*world.files.content(World::queueFile)));
        const std::string name = "queue.unreadable-" + std::to_string(++number) + ".json";
        EXPECT_EQ(world.files.content(World::data / name), text);
    }
}

TEST_F(Persistence, removesWhatNobodyNames) {
    const FileID file = world.addFile("f", std::string(1000, 'x'));
    world.link(file).rate = 100;
    const ConstDownloadPointer item = world.enqueue(file);
    world.loop.advance(5s);
    manager().pause(item);
    world.settle();
    world.files.put(World::partials / world.random.makeUUID().text(), "x");
    world.files.put(World::staging / ".hidden", "x");
    const World::Path halfWritten = World::data / (".tovri-" + world.random.makeUUID().text());
    world.files.put(halfWritten, "{");
    world.kill();
    world.start();
    world.loop.advance(100ms);
    EXPECT_EQ(world.partialFiles().size(), 1U);
    EXPECT_TRUE(world.files.files(World::staging).empty());
    EXPECT_FALSE(world.files.exists(halfWritten));
    manager().resumeAll();
    world.settle();
    EXPECT_EQ(world.files.content(World::downloads / "f"), world.contentOf(file));
    EXPECT_EQ(world.storage.resumed, 1);
    EXPECT_TRUE(world.files.files(World::partials).empty());
}

// The journal remembers a placement that begins while an older one of the same item is being forgotten.
TEST_F(Persistence, remembersAPlacementThatASaveDidNotSee) {
    for (int milliseconds = 0; milliseconds < 4000; milliseconds += 100) {
        World other;
        other.preferences.setConflictBehavior(ConflictBehavior::keepBoth);
        other.files.put(World::downloads / "f", "old");
        other.volumes.longestDelays["saves"] = 1s;
        other.enqueue(other.addFile("f", "new"));
        other.manager().saveNow();
        other.loop.advance(std::chrono::milliseconds(milliseconds));
        other.manager().pauseAll();  // a change to be saved
        other.loop.advance(1450ms);
        other.kill();
        other.start();
        other.manager().resumeAll();
        other.settle();
        EXPECT_EQ(other.tree(), "f=old f (1)=new") << milliseconds;
    }
}

}  // namespace
}  // namespace tovri::test
