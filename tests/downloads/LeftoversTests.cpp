// Which of the bytes that transfers have left are kept, for whom, and what they spare.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/partials/NoteFile.h"
#include "downloads/receiving/GoingOn.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

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
