// Where bytes gather before their file has its place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/partials/ResumePoint.h"
#include "downloads/receiving/Receiving.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

TEST_F(Receiving, writesBytesOnceOnTheDestinationsOwnVolume) {
    world.files.setCapacity("/", 20'000);  // of the data folder's disk: enough for the queue alone
    const ConstDownloadPointer item = enqueueTo(usb / "Shows/new/deep", "film", std::string(30'000, 'x'));
    world.link(item->fileID).rate = 10'000;
    world.loop.advance(1500ms);
    const auto folders = receivingFolders(usb / "Shows");
    ASSERT_THAT(folders, SizeIs(1));
    EXPECT_THAT(world.partialFiles(folders[0]), SizeIs(1));
    EXPECT_THAT(list(), HasSubstr(folders[0].native()));
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.fileSize(usb / "Shows/new/deep/film"), 30'000);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
    restart();
    world.settle();
    EXPECT_EQ(list(), "");
}

TEST_F(Receiving, usesOneFolderForEachVolume) {
    world.files.addVolume("/mnt/other");
    for (const Path& folder : {usb / "Shows", usb / "Films", Path("/mnt/other"), World::downloads})
        enqueueSlowly(folder, "file");
    world.preferences.setMaxConcurrentDownloads(9);
    world.manager().resumeAll();
    world.loop.advance(2s);
    EXPECT_EQ(
        receivingFolders(usb / "Films").size() + receivingFolders(usb / "Shows").size() + receivingFolders(usb).size(),
        1U);
    EXPECT_THAT(receivingFolders("/mnt/other"), SizeIs(1));
    EXPECT_THAT(world.partialFiles(), SizeIs(1));
    world.settle();
    for (const Path& file : {usb / "Shows/file", usb / "Films/file", Path("/mnt/other/file")})
        EXPECT_EQ(world.files.fileSize(file), 3000) << file;
}

TEST_F(Receiving, goesOnInTheFolderWhereItBegan) {
    const FileID file = enqueueSlowly(usb / "Shows", "file")->fileID;
    world.loop.advance(10s);
    quit();
    ASSERT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
    world.start();
    world.settle();
    EXPECT_EQ(world.files.fileSize(usb / "Shows/file"), 3000);
    EXPECT_EQ(world.storage.resumed, 1);
    EXPECT_LT(world.storage.bytesSent, 3100);
    EXPECT_EQ(world.transfersOf(file), 2U);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
}

TEST_F(Receiving, cleansAnAbsentVolumeWhenItIsBack) {
    enqueueSlowly(usb / "Shows", "file");
    world.loop.advance(10s);
    world.manager().pauseAll();
    world.settle();
    ASSERT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
    const Path folder = receivingFolders(usb / "Shows")[0];
    const std::string listed = list();
    world.files.unmount(usb);
    world.manager().remove(world.manager().downloads().items()[0]);
    world.manager().saveNow();
    restart();
    world.settle();
    EXPECT_EQ(list(), listed);
    world.files.mount(usb);
    world.files.put(usb / (".tovri-" + world.random.makeUUID().text()) / "other", "another data folder's");
    EXPECT_THAT(world.partialFiles(folder), SizeIs(1));
    restart();
    world.settle();
    EXPECT_FALSE(world.files.exists(folder));
    EXPECT_THAT(receivingFolders(usb), SizeIs(1));
    restart();
    world.settle();
    EXPECT_EQ(list(), "");  // its line goes at the next start
}

// Also when it was there before, is gone, and is about to be forgotten while it is chosen again.
TEST_F(Receiving, listsAFolderBeforeItIsMade) {
    for (int delay = 0; delay < 40; ++delay) {
        SCOPED_TRACE("chosen again after " + std::to_string(delay) + " ms");
        enqueueTo(usb, "before", "x");
        world.settle();
        restart();
        world.loop.advance(std::chrono::milliseconds(delay));
        enqueueSlowly(usb, "file");
        ASSERT_TRUE(world.loop.runUntil([&] { return !receivingFolders(usb).empty(); }));
        EXPECT_THAT(list(), HasSubstr(receivingFolders(usb)[0].native()));
        world.loop.advance(2s);
        EXPECT_THAT(list(), HasSubstr(receivingFolders(usb)[0].native()));
        restart();
        world.settle();
        EXPECT_THAT(receivingFolders(usb), IsEmpty());
    }
}

TEST_F(Receiving, goesOnWhereTheVolumeIsMountedNow) {
    enqueueSlowly(usb / "Shows", "file");
    const ConstDownloadPointer other = enqueueSlowly(usb / "Shows", "other");
    world.loop.advance(10s);
    quit();
    const Path now = "/media/ann/usb";
    world.files.mountElsewhere(usb, now);
    world.preferences.setMaxConcurrentDownloads(1);
    world.start();
    ASSERT_THAT(receivingFolders(now / "Shows"), SizeIs(1));
    world.manager().remove(world.find(other->fileID));
    const ConstDownloadPointer item = world.manager().downloads().items().front();
    world.loop.advance(11s);
    EXPECT_THAT(world.partialFiles(receivingFolders(now / "Shows").at(0)), SizeIs(1));
    // Its name is remembered, not where it is for the time being.
    quit();
    world.files.mountElsewhere(now, usb);
    world.start();
    world.settle();
    EXPECT_EQ(world.files.fileSize(*world.find(item->fileID)->resolvedURL), 3000);
    EXPECT_EQ(world.storage.resumed, 2);
    EXPECT_LT(world.storage.bytesSent, 3100 + 1100);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
}

TEST_F(Receiving, aCopyOfTheDataFolderLeavesTheOriginalsFoldersAlone) {
    enqueueSlowly(usb / "Shows", "file");
    world.loop.advance(10s);
    quit();
    const Path original = receivingFolders(usb / "Shows").at(0);
    const Path identifierFile = World::data / "data-folder.id";
    std::string identifier = *world.files.content(identifierFile);
    identifier.insert(identifier.size() - 1, "9");  // another folder's number
    world.files.put(identifierFile, identifier);
    world.start();
    world.loop.advance(1s);
    EXPECT_THAT(world.partialFiles(original), SizeIs(1));
    EXPECT_THAT(list(), testing::Not(HasSubstr(original.native())));
    world.settle();
    restart();
    world.settle();
    EXPECT_EQ(world.files.fileSize(usb / "Shows/file"), 3000);
    EXPECT_THAT(world.partialFiles(original), SizeIs(1));
    EXPECT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
}

TEST_F(Receiving, goesOnInNoFolderThatItDoesNotKnow) {
    const UUID name = world.random.makeUUID();
    const Path secret = "/home/user/Documents" / Path(name.text());
    world.files.put(secret, "somebody's own bytes");
    const ConstDownloadPointer item = enqueueSlowly(World::downloads, "file");
    ASSERT_TRUE(world.runUntil(item, Status::downloading));
    world.loop.advance(1s);
    world.manager().pause(item);
    world.settle();
    ResumePoint point = *ResumePoint::parse(*item->resumeData);
    point.partial = name;
    point.offset = 5;
    point.folder = secret.parent_path();
    changeable(item).resumeData = point.encoded();
    world.manager().resume(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.content(secret), "somebody's own bytes");
    EXPECT_EQ(world.files.fileSize(World::downloads / "file"), 3000);
}

}  // namespace
}  // namespace tovri::test
