// No byte comes twice: where transfers go on from what earlier ones have left.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/partials/NoteFile.h"
#include "downloads/partials/ResumePoint.h"
#include "downloads/receiving/GoingOn.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::chrono_literals;

TEST_F(GoingOn, afterAKillAtMostTwoSecondsBefore) {
    for (const bool isListed : {false, true}) {
        for (const Path& folder : {World::downloads, usb}) {
            SCOPED_TRACE(folder.native() + (isListed ? ", with a checksum" : ""));
            const FileID file = slowFile(isListed ? "listed" : "unlisted");
            if (isListed) list(file, contentOf('a'));
            enqueue(file, folder);
            world.storage.bytesSent = world.storage.resumed = 0;
            for (int i = 1; i <= 3; ++i) {
                world.loop.advance(7777ms);
                restart();
                world.loop.advance(1s);
                EXPECT_GE(world.find(file)->bytesDownloaded, 700 * i - 200 * i);
                EXPECT_LE(world.find(file)->speed.count, 2 * rate) << "what was there before has not come now";
                EXPECT_FALSE(world.find(file)->resumeData);
            }
            expectArrived(world.find(file), folder);
            EXPECT_LE(cameTwice(), 3 * 2 * rate);
            EXPECT_EQ(world.storage.resumed, 3);
            expectNotRestarted();
        }
    }
}

TEST_F(GoingOn, afterALossOfPowerAtMostTenSecondsBefore) {
    const FileID file = slowFile();
    enqueue(file);
    world.loop.advance(25s);
    world.losePower();
    world.start();
    expectArrived(world.find(file));
    EXPECT_LE(cameTwice(), 10 * rate);
    EXPECT_EQ(world.storage.resumed, 1);
}

// Its note says what was durable even when it was gone on from just before.
TEST_F(GoingOn, afterALossOfPowerThatFollowsAKill) {
    const FileID file = slowFile();
    enqueue(file);
    world.loop.advance(20s);
    restart();
    world.loop.advance(500ms);
    world.losePower();
    world.start();
    expectArrived(world.find(file));
    EXPECT_LE(cameTwice(), 8 * rate);
}

TEST_F(GoingOn, afterARetryFromAnyStatus) {
    struct Case {
        const char* what;
        std::function<void(const ConstDownloadPointer&)> prepare;
    };

    const Case cases[] = {
        {"failed", [&](const ConstDownloadPointer& item) { ASSERT_TRUE(world.runUntil(item, Status::failed)); }},
        {"paused",
         [&](const ConstDownloadPointer& item) {
             world.loop.advance(4s);
             world.manager().pause(item);
             ASSERT_TRUE(world.runUntil(item, Status::paused));
         }},
        {"resumed",
         [&](const ConstDownloadPointer& item) {
             world.loop.advance(3s);
             world.manager().pause(item);
             ASSERT_TRUE(world.runUntil(item, Status::paused));
             world.manager().resume(item);
             world.loop.advance(1s);
         }},
        {"downloading", [&](const ConstDownloadPointer&) { world.loop.advance(4s); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const FileID file = slowFile(c.what);
        world.storage.bytesSent = 0;
        world.link(file).breaks = {{.at = 500, .fault = TransportFault::none}};
        const ConstDownloadPointer item = enqueue(file);
        c.prepare(item);
        world.link(file).breaks.clear();
        world.manager().retry(item);
        EXPECT_FALSE(item->resumeData);
        EXPECT_EQ(item->progress, 0);
        expectArrived(item);
        EXPECT_LE(cameTwice(), rate / 10);
    }
    expectNotRestarted();
}

// Also when the process has ended in between, in any way.
TEST_F(GoingOn, afterARetryInAnotherProcess) {
    for (const bool losesPower : {false, true}) {
        world.storage.bytesSent = 0;
        const FileID file = failed(slowFile(losesPower ? "a" : "b"))->fileID;
        world.manager().saveNow();
        losesPower ? world.losePower() : world.kill();
        world.start();
        world.settle();
        EXPECT_TRUE(world.find(file)->resumeData);
        world.manager().retry(world.find(file));
        world.manager().saveNow();
        restart();
        expectArrived(world.find(file));
        EXPECT_LE(cameTwice(), losesPower ? 10 * rate : 0);
    }
}

TEST_F(GoingOn, afterAResumedTransferHasFailed) {
    const ConstDownloadPointer item = enqueue(slowFile());
    world.loop.advance(4s);
    world.manager().pause(item);
    ASSERT_TRUE(world.runUntil(item, Status::paused));
    world.link(item->fileID).breaks = {{.at = 900, .fault = TransportFault::none}};
    world.manager().resume(item);
    expectArrived(item);
    EXPECT_THAT(world.log.lines, SizeIs(1));
    EXPECT_THAT(world.log.lines, Each(StartsWith("[DownloadManager] Resume failed for movie, restarting: ")));
    EXPECT_EQ(cameTwice(), 0);
}

// A transfer that goes on from what was left is a new one: what breaks it fails its item.
TEST_F(GoingOn, failsAsANewTransferDoes) {
    const FileID file = slowFile();
    const ConstDownloadPointer item = failed(file);
    world.link(file).breaks = {{.at = 900, .fault = TransportFault::none}};
    world.manager().retry(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: The connection broke.");
    EXPECT_EQ(ResumePoint::parse(*item->resumeData)->offset, 900);
    world.manager().retry(item);
    expectArrived(item);
    EXPECT_EQ(cameTwice(), 0);
    expectNotRestarted();
}

// In the same run, without failing, and never with what the server does not go on from.
TEST_F(GoingOn, beginsAnewWhenTheServerRefuses) {
    struct Case {
        const char* what;
        std::function<void(SimulatedStorage::Link&)> change;
    };

    const Case cases[] = {
        {"the whole file", [](SimulatedStorage::Link& link) { link.refusedResumes = 1; }},
        {"another part", [](SimulatedStorage::Link& link) { link.skippedInRange = 10; }},
        {"another file", [](SimulatedStorage::Link& link) { link.content = contentOf('b'); }},
        {"a shorter one", [](SimulatedStorage::Link& link) { link.content = contentOf('b').substr(0, 100); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const ConstDownloadPointer item = failed(slowFile(c.what));
        const Path before = world.partialFiles().begin()->first;
        c.change(world.link(item->fileID));
        world.manager().retry(item);
        EXPECT_TRUE(world.loop.runUntil([&] { return item->bytesDownloaded > 550 || isFinished(item->status); }));
        EXPECT_FALSE(world.files.exists(before));
        EXPECT_FALSE(world.files.exists(NoteFile::pathOf(before)));
        world.settle();
        EXPECT_EQ(world.files.content(World::downloads / c.what), world.link(item->fileID).content);
        EXPECT_EQ(item->status, Status::completed);
        EXPECT_EQ(world.transfersOf(item->fileID), 3U);
        EXPECT_THAT(world.files.files(World::partials), IsEmpty());
    }
    expectNotRestarted();
}

TEST_F(GoingOn, beginsAnewWhenTheProofFails) {
    const FileID file = slowFile();
    list(file, contentOf('b'));
    const ConstDownloadPointer item = failed(file);
    world.link(file).content = contentOf('b');
    world.manager().retry(item);
    expectArrived(item);
    EXPECT_EQ(item->arrivedChecksum, item->crc32);
    EXPECT_EQ(world.transfersOf(file), 3U);
    expectNotRestarted();

    // And once more, where it was resumed before.
    const FileID other = slowFile("other");
    list(other, contentOf('b'));
    const ConstDownloadPointer resumed = enqueue(other);
    world.loop.advance(4s);
    world.manager().pause(resumed);
    ASSERT_TRUE(world.runUntil(resumed, Status::paused));
    world.link(other).content = contentOf('b');
    world.manager().resume(resumed);
    expectArrived(resumed);
    EXPECT_EQ(world.transfersOf(other), 3U);
}

TEST_F(GoingOn, takesBytesOnceThatNothingCouldBeAddedTo) {
    const FileID file = slowFile();
    const ConstDownloadPointer item = failed(file);
    world.link(file).breaks = {{.at = 500, .fault = TransportFault::none}};
    world.manager().retry(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: The connection broke.");
    EXPECT_FALSE(item->resumeData);
    EXPECT_THAT(world.files.files(World::partials), IsEmpty());
    world.manager().retry(item);
    expectArrived(item);
    EXPECT_EQ(cameTwice(), 500);

    // A kill leaves no bytes either that a server has agreed to go on from and has not gone on from.
    const FileID stuck = failed(slowFile("stuck"))->fileID;
    world.storage.resumed = 0;
    world.link(stuck).rate = 1;  // the first byte comes after a second
    world.manager().retry(world.find(stuck));
    world.loop.advance(500ms);
    EXPECT_EQ(world.storage.resumed, 1);
    world.manager().saveNow();
    restart();
    world.link(stuck).rate = rate;
    expectArrived(world.find(stuck));
    EXPECT_EQ(world.storage.resumed, 1);
}

// What comes to nothing before a server is asked says nothing of the bytes.
TEST_F(GoingOn, keepsTheBytesWhenThereIsNoLink) {
    const ConstDownloadPointer item = failed(slowFile());
    const auto usual = world.http.handler;
    world.http.handler = [&](const HTTPRequest& request) {
        return request.url.ends_with("/url") ? HTTPResponse{500, ""} : usual(request);
    };
    for (int i = 0; i < 3; ++i) {
        world.manager().retry(item);
        world.settle();
        ASSERT_EQ(item->status, Status::failed);
        EXPECT_EQ(world.transfersOf(item->fileID), 1U);
    }
    world.http.handler = usual;
    world.manager().retry(item);
    expectArrived(item);
    EXPECT_EQ(cameTwice(), 0);
}
}  // namespace
}  // namespace tovri::test
