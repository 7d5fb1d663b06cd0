// No byte comes twice: where transfers go on from what earlier ones have left, and what becomes of the rest.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "downloads/partials/NoteFile.h"
#include "downloads/partials/ResumePoint.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::Each;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::chrono_literals;

class GoingOn : public testing::Test {
public:
    using Path = World::Path;

    GoingOn() { world.files.addVolume(usb); }

    // 3000 bytes, 100 in a second.
    FileID slowFile(const std::string& name = "movie") {
        const FileID file = world.addFile(name, contentOf('a'));
        world.link(file).rate = rate;
        return file;
    }

    [[nodiscard]] static std::string contentOf(char letter) {
        std::string content;
        for (int i = 0; i < 300; ++i) content += letter + std::to_string(100'000'000 + i);
        return content;
    }

    void list(FileID file, const std::string& content) {
        Checksum checksum;
        checksum.add(content);
        world.announceChecksum(file, checksum.text());
    }

    ConstDownloadPointer enqueue(FileID file, const Path& folder = World::downloads) {
        return world.enqueue(file, {.destination = DestinationFolder{folder, {}}});
    }

    // One that has failed after its first 500 bytes.
    ConstDownloadPointer failed(FileID file) {
        world.link(file).breaks = {{.at = 500, .fault = TransportFault::none}};
        ConstDownloadPointer item = enqueue(file);
        EXPECT_TRUE(world.runUntil(item, Status::failed));
        world.settle();
        return item;
    }

    void restart() {
        world.kill();
        world.start();
    }

    // It has arrived as put.io has it, and nothing is left of the way.
    void expectArrived(const ConstDownloadPointer& item, const Path& folder = World::downloads) {
        world.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.files.content(folder / item->fileName), world.link(item->fileID).content);
        EXPECT_THAT(world.files.files(World::partials), IsEmpty());
        for (const auto& [path, content] : world.files.files(usb))
            EXPECT_THAT(path.native(), Not(testing::HasSubstr("/.tovri-")));
    }

    // So many bytes have come more than once.
    [[nodiscard]] ByteCount cameTwice() const { return world.storage.bytesSent - length; }

    void expectNotRestarted() {
        for (const std::string& line : world.log.lines) EXPECT_THAT(line, Not(testing::HasSubstr("Resume failed")));
    }

    static constexpr ByteCount rate = 100;
    static constexpr ByteCount length = 3000;
    static inline const Path usb = "/mnt/usb";
    World world;
};

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

TEST_F(GoingOn, givesTheBytesToAnotherItemOfTheSameFile) {
    world.preferences.setMaxConcurrentDownloads(2);
    const FileID file = slowFile();
    const ConstDownloadPointer first = failed(file);
    const ConstDownloadPointer second = enqueue(file, "/home/user/other");
    world.loop.advance(2s);
    EXPECT_GT(second->bytesDownloaded, 600);
    // The first one's token is good for nothing any more, and does no harm.
    world.manager().retry(first);
    world.loop.advance(1s);
    EXPECT_LT(first->bytesDownloaded, 200);
    world.manager().cancel(first);
    world.loop.advance(1s);
    expectArrived(second, "/home/user/other");
    EXPECT_LE(cameTwice(), 2 * rate);

    const ConstDownloadPointer again = failed(slowFile("again"));
    const ConstDownloadPointer other = enqueue(again->fileID, "/home/user/other");
    world.loop.advance(2s);
    world.manager().remove(again);
    expectArrived(other, "/home/user/other");
}

TEST_F(GoingOn, goesOnFromATokenWhereItsBytesEndNow) {
    const FileID file = slowFile();
    const ConstDownloadPointer item = enqueue(file);
    world.loop.advance(5s);
    world.manager().pause(item);
    world.loop.advance(2s);
    world.volumes.hang("saves");
    world.manager().resume(item);
    world.loop.advance(10s);
    restart();
    ASSERT_TRUE(world.find(file)->resumeData);
    world.volumes.goOn("saves");
    world.manager().resumeAll();
    expectArrived(world.find(file));
    EXPECT_LE(cameTwice(), 2 * rate);
}

TEST_F(GoingOn, fetchesNothingOfAFileThatIsWholeAndProven) {
    for (const bool isListed : {true, false}) {
        const FileID file = slowFile(isListed ? "a" : "b");
        if (isListed) list(file, contentOf('a'));
        enqueue(file);
        world.loop.advance(5s);
        world.volumes.hang("saves");
        ASSERT_TRUE(world.loop.runUntil([&] { return world.find(file)->receivedFile != nullptr; }));
        restart();
        world.volumes.goOn("saves");
        expectArrived(world.find(file));
        EXPECT_EQ(world.transfersOf(file), isListed ? 1U : 2U);
    }
}

TEST_F(GoingOn, removesWhatNobodyWillAskForAgain) {
    const std::function<void(const ConstDownloadPointer&)> ways[] = {
        [&](const ConstDownloadPointer& item) { world.manager().remove(item); },
        [&](const ConstDownloadPointer& item) { world.manager().cancel(item); },
        [&](const ConstDownloadPointer&) { world.manager().clearFinished(); },
        [&](const ConstDownloadPointer&) {  // by a process that only edits the queue
            world.kill();
            EXPECT_TRUE(world.files.removeItem(World::queueFile));
            world.start();
        },
    };
    int number = 0;
    for (const auto& way : ways) {
        SCOPED_TRACE(++number);
        for (const bool isRunning : {false, true}) {
            const FileID file = slowFile("movie " + std::to_string(number));
            ConstDownloadPointer item = isRunning ? enqueue(file) : failed(file);
            world.loop.advance(3s);
            EXPECT_THAT(world.files.files(World::partials), SizeIs(2));
            way(item);
            if (isRunning && number == 3) world.manager().cancel(item);
            world.settle();
            EXPECT_THAT(world.files.files(World::partials), IsEmpty());
        }
    }
}

TEST_F(GoingOn, keepsAtTheStartWhatAnItemCanGoOnFrom) {
    const FileID file = slowFile();
    list(file, contentOf('a'));
    failed(file);
    world.manager().retry(world.find(file));
    world.manager().pauseAll();
    world.settle();
    world.manager().saveNow();
    const Checksum listed = Checksum::parse(*world.find(file)->crc32).value();
    world.kill();
    for (const auto& [path, content] : world.files.files(World::partials)) EXPECT_TRUE(world.files.removeItem(path));

    const NotedFile right{.fileID = file, .length = length, .validator = "\"v\"", .checksum = listed};
    const auto other = [&](auto change) {
        NotedFile changed = right;
        change(changed);
        return changed;
    };

    struct Case {
        const char* what = "";
        NotedFile noted = {};
        ByteCount end = 0;
        bool isOnTrial = false;
        bool stays = false;
    };

    const Case cases[] = {
        {"right", right, 400, false, true},
        {"by the checksum alone", other([](NotedFile& noted) { noted.validator.clear(); }), 300, false, true},
        {"by the validator alone", other([](NotedFile& noted) { noted.checksum.reset(); }), 200, false, true},
        {"another file", other([](NotedFile& noted) { ++noted.fileID.number; }), 400, false, false},
        {"another size", other([](NotedFile& noted) { ++noted.length; }), 400, false, false},
        {"another checksum", other([](NotedFile& noted) { noted.checksum.emplace(1U); }), 400, false, false},
        {"fewer bytes than noted", right, 1000, false, false},
        {"on trial", right, 400, true, false},
    };
    std::map<std::string, Path> paths;
    for (const Case& c : cases) {
        const UUID name = world.random.makeUUID();
        PartialNote note{.partial = name, .file = c.noted, .isOnTrial = c.isOnTrial, .parts = {}};
        note.parts = {{.first = 0, .written = {c.end, std::nullopt}, .durable = {0, std::nullopt}}};
        paths[c.what] = World::partials / name.text();
        world.files.put(paths[c.what], contentOf('a').substr(0, 500));
        world.files.put(NoteFile::pathOf(paths[c.what]), DatedNote{1, world.clock.bootID(), note}.encoded());
    }
    const Path lonely = NoteFile::pathOf(World::partials / world.random.makeUUID().text());
    world.files.put(lonely, "a note of nothing");
    world.start();
    world.settle();
    for (const Case& c : cases) {
        EXPECT_EQ(world.files.exists(paths[c.what]), c.stays) << c.what;
        EXPECT_EQ(world.files.exists(NoteFile::pathOf(paths[c.what])), c.stays) << c.what;
    }
    EXPECT_FALSE(world.files.exists(lonely));
    world.storage.bytesSent = 0;
    world.manager().resumeAll();
    expectArrived(world.find(file));
    EXPECT_EQ(world.storage.bytesSent, length - 400) << "the longest is gone on from, and the others go with the item";
}

// The bytes that are there need no room.
TEST_F(GoingOn, waitsForTheRoomOfTheRestAlone) {
    const FileID file = world.addFile("large", std::string(60'000, 'x'));
    world.link(file).breaks = {{.at = 50'000, .fault = TransportFault::none}};
    const ConstDownloadPointer item = enqueue(file, usb);
    ASSERT_TRUE(world.runUntil(item, Status::failed));
    world.files.setCapacity(usb, 90'000);
    world.manager().retry(item);
    expectArrived(item, usb);

    // At the start, too, where the notes are read only then.
    world.files.setCapacity(usb, 1'000'000);
    const FileID second = world.addFile("second", std::string(60'000, 'x'));
    world.link(second).breaks = {{.at = 50'000, .fault = TransportFault::none}};
    const ConstDownloadPointer other = enqueue(second, usb);
    ASSERT_TRUE(world.runUntil(other, Status::failed));
    world.manager().pauseAll();
    world.manager().retry(other);
    world.settle();
    world.manager().saveNow();
    const Path folder = world.partialFiles(usb).begin()->first.parent_path();
    world.kill();
    world.files.setCapacity(usb, 150'000);
    world.volumes.longestDelays["search " + folder.native()] = 3s;
    world.start();
    world.manager().resumeAll();
    world.loop.advance(50ms);
    EXPECT_TRUE(world.find(second)->hold);
    EXPECT_TRUE(world.loop.runUntil([&] { return !world.manager().canRunNow(); }));
    EXPECT_EQ(World::outcome(world.find(second)), "completed");
}

}  // namespace
}  // namespace tovri::test
