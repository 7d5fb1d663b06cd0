#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include "platform/posix/PosixFileManagerFixture.h"
#include "platform/posix/Unprivileged.h"
#include "platform/posix/folders/VolumeLookup.h"

namespace tovri::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// A small file system of its own, seen by this process alone.
class SmallDisk : public PosixFileManagerTest {
public:
    void SetUp() override {
        ASSERT_TRUE(files.createDirectories(disk));
        const bool isAlone =
            ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;  // NOLINT
        if (!isAlone || ::mount("none", disk.c_str(), "tmpfs", 0, "size=1m") != 0) GTEST_SKIP() << "cannot mount here";
        isMounted_ = true;
    }

    void TearDown() override {
        if (isMounted_) ::umount(disk.c_str());
    }

    Path disk = here / "disk";

private:
    bool isMounted_ = false;
};

TEST_F(SmallDisk, fullDiskLosesNothingAndLeavesNothing) {
    const std::string large(std::size_t{2} << 20U, 'x');
    ASSERT_TRUE(files.writeFileAtomically(here / "large", large));
    ASSERT_TRUE(files.writeFileAtomically(disk / "old", "old"));
    ASSERT_TRUE(files.createDirectories(disk / "folder/below"));
    for (const auto& failed :
         {files.moveItem(here / "large", disk / "new", {}), files.replaceItem(here / "large", disk / "old", {}),
          files.replaceItem(here / "large", disk / "folder", {}), files.cloneFile(here / "large", disk / "new"),
          files.writeFileAtomically(disk / "old", large)}) {
        ASSERT_FALSE(failed);
        EXPECT_THAT(failed.error().description, HasSubstr("the disk is full; free some space and try again."));
    }
    EXPECT_EQ(files.fileSize(here / "large"), static_cast<ByteCount>(large.size()));
    EXPECT_EQ(content(disk / "old"), "old");
    EXPECT_TRUE(files.exists(disk / "folder/below"));
    EXPECT_EQ(entriesIn(disk), 2U);
}

TEST_F(SmallDisk, roomIsKeptBeforeTheBytesCome) {
    const std::string full =
        "The disk is full: no room for the download in " + disk.string() + "; free some space and retry.";
    const auto kept = files.createForWriting(disk / "kept").value();
    ASSERT_TRUE(kept->allocate(700'000).value());
    const auto other = files.createForWriting(disk / "other").value();
    EXPECT_EQ(other->allocate(700'000).error().description, full);
    EXPECT_EQ(other->writeAt(0, std::string(700'000, 'x')).error().description, full);
    EXPECT_TRUE(kept->writeAt(0, std::string(700'000, 'x')));
}

TEST_F(SmallDisk, readOnlyDiskIsSaid) {
    ASSERT_TRUE(files.writeFileAtomically(here / "a", "bytes"));
    ASSERT_EQ(::mount("none", disk.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    const auto moved = files.moveItem(here / "a", disk / "a", {});
    ASSERT_FALSE(moved);
    EXPECT_THAT(moved.error().description, HasSubstr("the disk is read-only"));
    EXPECT_EQ(content(here / "a"), "bytes");
}

TEST_F(SmallDisk, tellsWhatItIsAndWhetherItIsThere) {
    const Path inside = disk / "not yet/there";
    const Volume mounted = files.volume(inside).value();
    EXPECT_EQ(mounted.folder, disk);
    EXPECT_EQ(mounted.total, ByteCount(1) << 20);
    EXPECT_EQ(mounted.longestName, 255U);
    ASSERT_TRUE(files.createForWriting(disk / "kept").value()->allocate(700'000).value());
    EXPECT_LT(files.volume(inside)->available, (ByteCount(1) << 20) - 700'000 + 1);
    EXPECT_NE(files.volume(here)->identity, mounted.identity);

    ASSERT_EQ(::umount(disk.c_str()), 0);
    EXPECT_EQ(files.volume(inside)->identity, files.volume(here)->identity);
    ASSERT_EQ(::mount("none", disk.c_str(), "tmpfs", MS_RDONLY, "size=1m"), 0);
    EXPECT_EQ(files.volume(inside)->identity, mounted.identity);
    EXPECT_FALSE(files.volume(inside)->isWritable);
}

// What the tables say of a mount decides in which words it is known.
TEST_F(SmallDisk, isKnownByWhatLasts) {
    VolumeTables tables{here / "mounts", here / "uuids"};
    const auto identityWith = [&](std::string_view typeAndSource) {
        std::ifstream real("/proc/self/mountinfo");
        std::ofstream made(tables.mounts);
        for (std::string line; std::getline(real, line);)
            made << line.substr(0, line.find(" - ")) << " - " << typeAndSource << " rw\n";
        made.close();
        return VolumeLookup(tables).volumeOf(disk)->identity;
    };
    EXPECT_EQ(identityWith("nfs4 server:/Films\\040and\\134more"), "mount:nfs4 server:/Films and\\more");
    EXPECT_EQ(identityWith("tmpfs none"), "mount:tmpfs " + disk.string());
    std::filesystem::remove(tables.mounts);
    EXPECT_THAT(VolumeLookup(tables).volumeOf(disk)->identity, StartsWith("device:"));

    Path device;
    for (const auto& entry : std::filesystem::directory_iterator("/dev"))
        if (entry.is_block_file()) device = entry.path();
    if (device.empty()) GTEST_SKIP() << "no block device";
    EXPECT_EQ(identityWith("ext4 " + device.string()), "mount:ext4 " + device.string());
    std::filesystem::create_directories(tables.uuids);
    std::filesystem::create_symlink("/dev/null", tables.uuids / "0000-0000");
    std::filesystem::create_symlink(device, tables.uuids / "1234-ABCD");
    EXPECT_EQ(identityWith("vfat " + device.string()), "uuid:1234-ABCD");
}

TEST_F(PosixFileManagerTest, aFolderOfAnotherMayBeShut) {
    ASSERT_TRUE(files.createDirectories(here / "shut"));
    std::filesystem::permissions(here, std::filesystem::perms(0755));
    std::filesystem::permissions(here / "shut", std::filesystem::perms(0555));
    const Unprivileged user;
    EXPECT_FALSE(files.volume(here / "shut/below")->isWritable);
}

}  // namespace
}  // namespace tovri::test
