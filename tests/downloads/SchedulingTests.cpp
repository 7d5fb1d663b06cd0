// What starts when, and with what it ends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/SlowFiles.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Scheduling : public SlowFiles {};

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

}  // namespace
}  // namespace tovri::test
