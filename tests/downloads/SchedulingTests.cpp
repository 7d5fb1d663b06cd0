// What starts when, and what the user's controls do to it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Scheduling : public testing::Test {
public:
    // A file of so many bytes that takes so many seconds.
    FileID slowFile(const std::string& name, int seconds = 10) {
        const FileID file = world.addFile(name, name + std::string(1000, '.'));
        world.link(file).rate = static_cast<ByteCount>(1000 + name.size()) / seconds;
        return file;
    }

    // In the midst of its transfer.
    ConstDownloadPointer running(const std::string& name) {
        const ConstDownloadPointer item = world.enqueue(slowFile(name));
        world.loop.advance(5s);
        EXPECT_GT(item->bytesDownloaded, 0);
        return item;
    }

    [[nodiscard]] std::string statuses() {
        std::string text;
        for (const ConstDownloadPointer& item : world.manager().downloads().items())
            text += item->fileName + ":" + std::string(rawValue(item->status)) + " ";
        return text;
    }

    void expectArrived(const ConstDownloadPointer& item) {
        world.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.files.content(World::downloads / item->fileName), world.contentOf(item->fileID));
    }

    World world;
    DownloadManager& manager = world.manager();
};

TEST_F(Scheduling, startsFromTheTopWithinTheLimit) {
    world.preferences.setMaxConcurrentDownloads(2);
    manager.pauseAll();
    for (const char* name : {"d", "c", "b", "a"}) world.enqueue(slowFile(name));
    EXPECT_EQ(statuses(), "a:queued b:queued c:queued d:queued ");  // while paused nothing starts
    manager.moveToTop(world.manager().downloads().items()[2]);
    manager.resumeAll();
    EXPECT_EQ(statuses(), "c:downloading a:downloading b:queued d:queued ");
    manager.moveUp(manager.downloads().items()[3]);
    manager.moveDown(manager.downloads().items()[3]);  // already the last
    world.enqueue(slowFile("e"));
    EXPECT_EQ(statuses(), "e:queued c:downloading a:downloading d:queued b:queued ");
    manager.cancel(manager.downloads().items()[2]);
    EXPECT_EQ(statuses(), "e:downloading c:downloading a:cancelled d:queued b:queued ");
    world.settle();
    EXPECT_EQ(statuses(), "e:completed c:completed a:cancelled d:completed b:completed ");
    EXPECT_EQ(world.storage.highestRunning, 2);
}

TEST_F(Scheduling, countsConflictsButNotDeletionsAsSlots) {
    world.preferences.setMaxConcurrentDownloads(2);
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    world.files.put(World::downloads / "taken", "old");
    const ConstDownloadPointer asking = world.enqueue(world.addFile("taken", "new"));
    const ConstDownloadPointer deleting = world.enqueue(world.addFile("x", "x"), {.deleteAfterDownload = true});
    ASSERT_TRUE(world.runUntil(asking, Status::awaitingConflict));
    ASSERT_TRUE(world.runUntil(deleting, Status::deleting));
    const ConstDownloadPointer third = world.enqueue(slowFile("third"));
    const ConstDownloadPointer fourth = world.enqueue(slowFile("fourth"));
    EXPECT_EQ(statuses(), "fourth:queued third:downloading x:deleting taken:awaitingConflict ");
    EXPECT_EQ(manager.activeCount(), 2U);
    EXPECT_EQ(manager.activeDownloads().size(), 3U);
}

TEST_F(Scheduling, goesOnAtTheSameByteAfterAPause) {
    const ConstDownloadPointer item = running("movie");
    manager.pause(item);
    manager.pause(item);
    world.loop.advance(10ms);
    EXPECT_EQ(World::outcome(item), "paused");
    EXPECT_EQ(item->speed, BytesPerSecond());
    const ByteCount received = item->bytesDownloaded;
    world.loop.advance(1min);
    manager.resume(item);
    world.loop.advance(200ms);
    EXPECT_GT(item->bytesDownloaded, received);
    EXPECT_LT(item->bytesDownloaded, received + 100);
    expectArrived(item);
    EXPECT_EQ(world.storage.resumed, 1);
}

TEST_F(Scheduling, startsOverWhenAResumedTransferFails) {
    const ConstDownloadPointer item = running("movie");
    world.link(item->fileID).refusedResumes = 1;
    manager.pauseAll();
    world.loop.runUntilIdle();
    manager.resumeAll();
    world.loop.advance(20ms);
    EXPECT_THAT(world.log.lines, testing::ElementsAre("[DownloadManager] Resume failed for movie, restarting: The "
                                                      "server did not go on where the transfer had stopped; the "
                                                      "download starts over."));
    EXPECT_EQ(item->progress, 0);
    expectArrived(item);
}

TEST_F(Scheduling, keepsTheTokenOfABrokenTransferUntilARetry) {
    const FileID file = slowFile("movie");
    world.link(file).breaks = {{.at = 300, .fault = TransportFault::none}};
    const ConstDownloadPointer item = world.enqueue(file);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: The connection broke.");
    EXPECT_TRUE(item->resumeData && item->completedAt);
    EXPECT_EQ(world.partialFiles().size(), 1U);
    const auto startedAt = item->startedAt;
    world.loop.advance(1min);
    manager.retry(item);
    expectArrived(item);
    EXPECT_TRUE(world.files.files(World::partials).empty());
    EXPECT_EQ(item->startedAt, startedAt);
}

// Each control, at each moment of an item's way. Whatever was pending from before must not come back.
TEST_F(Scheduling, controlsWorkAtAnyMoment) {
    enum class Moment { lookUp, transfer, pausing, placing, conflict, paused };

    struct Case {
        const char* control;
        void (*act)(DownloadManager&, const ConstDownloadPointer&);
        const char* expected;
    };

    const Case cases[] = {
        {"cancel", [](auto& queue, auto& item) { queue.cancel(item); }, "cancelled"},
        {"cancelAll", [](auto& queue, auto&) { queue.cancelAll(); }, "cancelled"},
        {"remove", [](auto& queue, auto& item) { queue.remove(item); }, nullptr},
        {"retry", [](auto& queue, auto& item) { queue.retry(item); }, "completed"},
        {"cancel, retry",
         [](auto& queue, auto& item) {
             queue.cancel(item);
             queue.retry(item);
         },
         "completed"},
        {"retry, cancel, retry",
         [](auto& queue, auto& item) {
             queue.retry(item);
             queue.cancel(item);
             queue.retry(item);
         },
         "completed"},
        {"pause all, resume all",
         [](auto& queue, auto&) {
             queue.pauseAll();
             queue.resumeAll();
         },
         nullptr},
    };
    for (const Moment moment :
         {Moment::lookUp, Moment::transfer, Moment::pausing, Moment::placing, Moment::conflict, Moment::paused}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.control) + " at moment " + std::to_string(static_cast<int>(moment)));
            World other;
            DownloadManager& queue = other.manager();
            const FileID file = other.addFile("f", "some bytes");
            other.link(file).rate = 10;
            if (moment == Moment::conflict) {
                other.preferences.setConflictBehavior(ConflictBehavior::ask);
                other.files.put(World::downloads / "f", "the user's");
            }
            const ConstDownloadPointer item = other.enqueue(file);
            if (moment == Moment::lookUp) other.loop.advance(10ms);
            if (moment == Moment::transfer || moment == Moment::pausing || moment == Moment::paused)
                other.loop.advance(500ms);
            if (moment == Moment::pausing || moment == Moment::paused) queue.pause(item);
            if (moment == Moment::paused) other.loop.advance(10ms);
            if (moment == Moment::placing) {
                ASSERT_TRUE(other.loop.runUntil([&] { return item->bytesDownloaded == 10; }));
                other.volumes.longestDelay = 1s;
            }
            if (moment == Moment::conflict) ASSERT_TRUE(other.runUntil(item, Status::awaitingConflict));
            c.act(queue, item);
            other.settle();
            queue.resolveConflict(ConflictChoice::keepBoth, false);
            other.settle();
            queue.resumeAll();
            other.settle();

            const bool isGone = c.expected && c.expected != std::string("completed");
            const bool isRemoved = c.control == std::string("remove");
            const std::string own = moment == Moment::conflict ? "f (1)" : "f";
            EXPECT_EQ(other.files.content(World::downloads / own).has_value(), !isGone && !isRemoved);
            EXPECT_EQ(other.files.files(World::downloads).size(),
                      (moment == Moment::conflict ? 1U : 0U) + (isGone || isRemoved ? 0U : 1U))
                << other.tree();
            if (!isRemoved) EXPECT_EQ(World::outcome(item), c.expected ? c.expected : "completed");
            EXPECT_TRUE(other.files.files(World::staging).empty());
            EXPECT_EQ(other.files.files(World::partials).size(), item->resumeData ? 1U : 0U);
            EXPECT_FALSE(item->stagedURL);
            EXPECT_FALSE(isGone && item->resumeData);
            EXPECT_EQ(other.storage.running, 0);
        }
    }
}

TEST_F(Scheduling, losesNothingOfWhatIsAskedForWhileItPauses) {
    world.volumes.longestDelay = 200ms;
    const auto pausing = [this](const std::string& name) {
        const ConstDownloadPointer item = running(name);
        world.loop.advance(500ms);
        manager.pause(item);
        return item;
    };

    const ConstDownloadPointer twice = pausing("twice");
    manager.pause(twice);
    world.loop.advance(1s);
    EXPECT_EQ(World::outcome(twice), "paused");
    EXPECT_TRUE(twice->resumeData);

    const ConstDownloadPointer resumed = pausing("resumed");
    manager.resumeAll();
    world.loop.advance(2s);
    EXPECT_EQ(World::outcome(resumed), "downloading");
    EXPECT_EQ(world.storage.resumed, 2);

    manager.pause(resumed);
    bool isDone = false;
    manager.suspend([&] { isDone = true; });
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 1s));
    EXPECT_EQ(World::outcome(resumed), "paused");
    EXPECT_TRUE(resumed->resumeData);
}

TEST_F(Scheduling, givesUpTheStartWhoseLinkComesTooLate) {
    const ConstDownloadPointer item = world.enqueue(slowFile("movie"));
    manager.pause(item);  // no transfer yet: nothing happens
    EXPECT_EQ(World::outcome(item), "downloading");
    manager.pauseAll();
    world.settle();
    EXPECT_EQ(World::outcome(item), "paused");
    EXPECT_TRUE(world.storage.started.empty());
    manager.resume(item);  // the queue is still paused
    world.settle();
    EXPECT_EQ(World::outcome(item), "queued");
    manager.resumeAll();
    expectArrived(item);
}

TEST_F(Scheduling, failsWithTheReasonOfTheService) {
    const FileID file = slowFile("refused");
    world.refusals[file] = 1;
    const ConstDownloadPointer refused = world.enqueue(file);
    const ConstDownloadPointer missing = world.enqueue(slowFile("missing"));
    world.link(missing->fileID).status = 404;
    world.settle();
    EXPECT_EQ(World::outcome(refused), "failed: HTTP error 400 from put.io.");
    EXPECT_EQ(World::outcome(missing), "failed: HTTP error 404 from put.io.");
    manager.retry(refused);
    expectArrived(refused);
}

// Each start fails at once; a long queue must not fail inside itself.
TEST_F(Scheduling, failsALongQueueWithoutLinks) {
    manager.pauseAll();
    const FolderID folder = world.addFolder("F");
    for (int i = 0; i < 50'000; ++i) world.addFile("f", "", folder);
    world.enqueueFolder(folder, false);
    world.settle();
    world.http.handler = [](const HTTPRequest&) { return HTTPResponse{404, ""}; };
    manager.resumeAll();
    world.settle();
    EXPECT_EQ(manager.finishedDownloads().size(), 50'000U);
    EXPECT_EQ(manager.downloads().items().back()->error, "HTTP error 404 from put.io.");
}

TEST_F(Scheduling, putsAFoldersFilesUnderTheirFolders) {
    const FolderID folder = world.addFolder("F");
    world.addFile("1", "one", folder);
    const FolderID a = world.addFolder("A", folder);
    world.addFile("2", "two", world.addFolder("B", a));
    world.addFile("3", "three", a);
    world.addFolder("empty", folder);
    manager.pauseAll();
    world.enqueueFolder(folder, false);
    world.settle();
    EXPECT_EQ(statuses(), "3:queued 2:queued 1:queued ");  // the last file walked on top
    EXPECT_EQ(world.log.lines.back(), "[DownloadManager] Enqueued 3 files from folder F");
    manager.resumeAll();
    world.settle();
    EXPECT_EQ(world.tree(), "F/1=one F/A/3=three F/A/B/2=two");

    world.http.handler = [](const HTTPRequest&) { return HTTPResponse{400, ""}; };
    world.enqueueFolder(folder, true);
    world.settle();
    EXPECT_EQ(world.log.lines.back(), "[DownloadManager] Failed to list folder F: HTTP error 400 from put.io.");
    EXPECT_EQ(manager.downloads().items().size(), 3U);
}

TEST_F(Scheduling, neverLeavesTheDestinationByAName) {
    const FolderID folder = world.addFolder("F");
    const std::string names[] = {"..", ".", "", "../up", "/etc/passwd", "a/b", std::string("nul\0x", 5)};
    for (const std::string& name : names) {
        world.addFile(name, "bad", folder);
        world.addFile("below", "bad", world.addFolder(name, folder));
    }
    world.addFile("...", "fine", folder);
    world.addFile(" -rf\n\\ ~", "fine", folder);
    world.addFile("ends.", "fine", world.addFolder("..x", folder));
    world.enqueueFolder(folder, true);
    world.settle();
    EXPECT_EQ(world.tree(), "F/ -rf\n\\ ~=fine F/...=fine F/..x/ends.=fine");
    for (const auto& [path, content] : world.files.files("/")) EXPECT_NE(content, "bad") << path;
    for (const ConstDownloadPointer& item : manager.downloads().items())
        if (item->status != Status::completed)
            EXPECT_THAT(World::outcome(item),
                        testing::AllOf(testing::StartsWith("failed: "), testing::HasSubstr("put.io")))
                << item->fileName;
    EXPECT_TRUE(world.deletions.empty());
    world.manager().saveNow();
    EXPECT_TRUE(decodeQueue(*world.files.content(World::queueFile)));
}

TEST_F(Scheduling, tellsTheRuleWhenAFileHasSettled) {
    std::string told;
    manager.setOnSyncFileSettled([&](const UUID&, FileID file) { told += file.text() + " "; });
    const UUID rule = world.random.makeUUID();
    const FileID done = world.addFile("done", "x");        // 100
    const FileID cancelled = slowFile("cancelled");        // 101
    const FileID removed = slowFile("removed");            // 102
    const FileID failing = world.addFile("failing", "x");  // 103
    bool isRefused = true;
    world.interferes = [&](const HTTPRequest& request) -> std::optional<Result<HTTPResponse>> {
        if (isRefused && request.url.ends_with("/" + failing.text() + "/url")) return HTTPResponse{400, ""};
        return std::nullopt;
    };
    world.enqueue(done, {.deleteAfterDownload = true, .syncRuleID = rule});
    for (const FileID file : {cancelled, removed, failing}) world.enqueue(file, {.syncRuleID = rule});
    world.enqueue(done);  // nobody's rule
    world.loop.advance(1s);
    EXPECT_EQ(told, "100 ");
    manager.cancel(world.find(cancelled));
    manager.remove(world.find(removed));
    EXPECT_EQ(told, "100 101 102 ");
    isRefused = false;
    const auto inFlight = manager.inFlightFileIDs(rule, {cancelled, failing, FileID(999)});
    EXPECT_EQ(inFlight, (std::unordered_set<FileID>{cancelled, failing}));
    world.settle();
    EXPECT_EQ(told, "100 101 102 103 ");  // a failed file was retried
}

TEST_F(Scheduling, measuresSpeedEveryHalfSecond) {
    const FileID file = world.addFile("f", std::string(10'000, 'x'));
    world.link(file).rate = 1000;
    const ConstDownloadPointer item = world.enqueue(file);
    world.loop.advance(300ms);
    EXPECT_EQ(item->speedText(), "");
    world.loop.advance(3700ms);
    EXPECT_NEAR(static_cast<double>(item->speed.count), 1000, 60);
    EXPECT_EQ(item->etaText(), "6s left");
    EXPECT_EQ(manager.queueETAText(), "6s");
    EXPECT_NEAR(manager.overallProgress(), 0.4, 0.02);
    world.settle();
    EXPECT_EQ(item->speed, BytesPerSecond());
    EXPECT_EQ(manager.overallProgress(), 0);
}

TEST_F(Scheduling, suspendsWithTokensAndGoesOnInTheNextProcess) {
    world.preferences.setMaxConcurrentDownloads(3);
    const ConstDownloadPointer paused = running("paused");
    manager.pause(paused);
    const ConstDownloadPointer active = running("active");
    world.preferences.setConflictBehavior(ConflictBehavior::ask);  // nobody answers any more
    world.files.put(World::downloads / "placing", "the user's");
    const ConstDownloadPointer placing = world.enqueue(world.addFile("placing", "p"));
    world.loop.advance(100ms);
    const ConstDownloadPointer lookUp = world.enqueue(slowFile("lookUp"));
    bool isDone = false;
    manager.suspend([&] { isDone = true; });
    world.enqueue(slowFile("later"));
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 2s));
    manager.saveNow();
    EXPECT_EQ(statuses(), "later:queued lookUp:downloading placing:awaitingConflict active:downloading paused:paused ");
    EXPECT_TRUE(active->resumeData);
    const ByteCount received = active->bytesDownloaded;
    world.kill();
    world.start();
    EXPECT_EQ(world.find(active->fileID)->bytesDownloaded, received);
    world.settle();
    world.manager().resolveConflict(ConflictChoice::keepBoth, false);
    world.settle();
    for (const ConstDownloadPointer& item : world.manager().downloads().items())
        EXPECT_EQ(World::outcome(item), item->fileName == "paused" ? "paused" : "completed");
    EXPECT_EQ(world.storage.resumed, 1);
}

}  // namespace
}  // namespace tovri::test
