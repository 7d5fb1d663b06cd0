#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/PosixFileManagerFixture.h"
#include "platform/posix/Unprivileged.h"
#include "platform/posix/files/FileError.h"

namespace tovri::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST_F(PosixFileManagerTest, symbolicLinksCountByThemselves) {
    ASSERT_TRUE(files.writeFileAtomically(here / "a", "bytes"));
    ASSERT_TRUE(files.createDirectories(here / "folder"));
    ASSERT_TRUE(files.writeFileAtomically(here / "folder/kept", "kept"));
    std::filesystem::create_symlink("nowhere", here / "dangling");
    std::filesystem::create_symlink("folder", here / "linked");

    EXPECT_TRUE(files.exists(here / "dangling"));
    EXPECT_EQ(files.fileSize(here / "linked/kept"), 4);
    EXPECT_TRUE(files.isWithin(here / "linked/yet to be", here / "folder"));
    EXPECT_EQ(files.stamp(here / "linked"), std::nullopt);
    const auto moved = files.moveItem(here / "a", here / "dangling", {});
    ASSERT_FALSE(moved);
    EXPECT_EQ(moved.error().code, ErrorCase::alreadyExists);
    // A link to a folder makes way; the folder behind it stays.
    ASSERT_TRUE(files.replaceItem(here / "a", here / "linked", {}));
    EXPECT_EQ(content(here / "linked"), "bytes");
    EXPECT_EQ(content(here / "folder/kept"), "kept");

    std::filesystem::create_symlink("../folder", here / "folder/itself");
    ASSERT_TRUE(files.removeItem(here / "folder"));
    EXPECT_EQ(entriesIn(here), 2U);
}

TEST_F(PosixFileManagerTest, followsNoLinkThatSomebodyElseMayHaveMade) {
    std::filesystem::create_directory(here / "target");
    const Path shared = here / "shared";
    std::filesystem::create_directory(shared);
    std::filesystem::create_directory_symlink(here / "target", shared / "Film");
    EXPECT_TRUE(files.createDirectories(shared / "Film/Extras"));  // the user's own, where nobody else may write
    ASSERT_EQ(::chmod(shared.c_str(), 0777), 0);
    EXPECT_FALSE(files.createDirectories(shared / "Film/More"));
    EXPECT_TRUE(files.createDirectories(shared / "Real/More"));
    ASSERT_EQ(::chmod(shared.c_str(), 0755), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::lchown((shared / "Film").c_str(), 65534, 65534), 0);
        EXPECT_FALSE(files.createDirectories(shared / "Film/More"));
    }
    EXPECT_FALSE(std::filesystem::exists(here / "target/More"));
}

TEST_F(PosixFileManagerTest, whatItWritesForTheProgramIsForTheOwnerAlone) {
    ASSERT_TRUE(files.writeFileAtomically(here / "written", "x"));
    ASSERT_TRUE(files.createFile(here / "created"));
    EXPECT_EQ(mode(here / "written"), 0600U);
    EXPECT_EQ(mode(here / "created"), 0600U);
    ASSERT_TRUE(files.createForWriting(here / "new/folder/part"));
    EXPECT_EQ(mode(here / "new"), 0700U);
    EXPECT_EQ(mode(here / "new/folder"), 0700U);
    EXPECT_EQ(mode(here / "new/folder/part"), 0600U);
    ASSERT_TRUE(files.createPrivateFolder(here / "private"));
    EXPECT_EQ(mode(here / "private"), 0700U);
}

TEST_F(PosixFileManagerTest, takesNobodyElsesFolderForAPrivateOne) {
    std::filesystem::create_directory(here / "folder");
    std::filesystem::create_symlink("folder", here / "link");
    EXPECT_FALSE(files.createPrivateFolder(here / "link"));
    std::filesystem::create_directory(here / "theirs");
    if (::chown((here / "theirs").c_str(), 12345, 12345) != 0) GTEST_SKIP() << "needs the right to give folders away";
    EXPECT_FALSE(files.createPrivateFolder(here / "theirs"));
}

TEST_F(PosixFileManagerTest, goesOnWithNothingButItsOwnFile) {
    ASSERT_TRUE(files.writeFileAtomically(here / "other", "precious"));
    std::filesystem::create_symlink("other", here / "link");
    ASSERT_EQ(::mkfifo((here / "pipe").c_str(), 0600), 0);
    for (const char* name : {"link", "pipe"}) {
        const auto reopened = files.reopenForWriting(here / name, 0);
        ASSERT_FALSE(reopened);
        EXPECT_THAT(reopened.error().description, HasSubstr("the download starts over"));
    }
    EXPECT_EQ(content(here / "other"), "precious");
}

TEST_F(PosixFileManagerTest, neverWaitsForAPipeOrADevice) {
    ASSERT_EQ(::mkfifo((here / "pipe").c_str(), 0600), 0);
    std::filesystem::create_symlink("pipe", here / "link");
    for (const Path& path : {here / "pipe", here / "link", Path("/dev/null"), Path("/dev/tty")}) {
        const auto read = files.readFile(path);
        const auto opened = files.openForReading(path);
        const auto cloned = files.cloneFile(path, here / "clone");
        for (const Error* error :
             {read ? nullptr : &read.error(), opened ? nullptr : &opened.error(), cloned ? nullptr : &cloned.error()}) {
            ASSERT_NE(error, nullptr) << path;
            EXPECT_THAT(error->description, HasSubstr("not a file; choose another one."));
        }
        EXPECT_FALSE(files.makeDurable(path));
        EXPECT_FALSE(files.appendToFile(path, "x"));
    }
    EXPECT_FALSE(files.exists(here / "clone"));
}

TEST_F(PosixFileManagerTest, refusedFoldersAreSaidInOneSentence) {
    ASSERT_TRUE(files.writeFileAtomically(here / "a", "bytes"));
    ASSERT_TRUE(files.createDirectories(here / "shut"));
    std::filesystem::permissions(here, std::filesystem::perms(0777));
    std::filesystem::permissions(here / "a", std::filesystem::perms(0666));
    std::filesystem::permissions(here / "shut", std::filesystem::perms(0555));
    const Unprivileged user;
    for (const auto& refused :
         {files.moveItem(here / "a", here / "shut/a", {}), files.createDirectories(here / "shut/below"),
          files.writeFileAtomically(here / "shut/a", "x"), files.cloneFile(here / "a", here / "shut/a")}) {
        ASSERT_FALSE(refused);
        EXPECT_THAT(refused.error().description, AllOf(HasSubstr((here / "shut").string()),
                                                       HasSubstr("permission is denied"), HasSubstr("choose another")));
    }
    EXPECT_EQ(content(here / "a"), "bytes");
}

TEST(FileError, descriptionsAreOneLineOfText) {
    EXPECT_EQ(fileError("write", "/tmp/caf\xC3\xA9/\xE9\n\x7F", ENOSPC).description,
              "Cannot write \"/tmp/caf\xC3\xA9/???\": the disk is full; free some space and try again.");
    // Overlong, surrogate, beyond Unicode, cut short.
    EXPECT_EQ(displayText("\xC0\xAF|\xED\xA0\x80|\xF4\x90\x80\x80|\xF0\x9F\x98"), "??|???|????|???");
    EXPECT_EQ(displayText("\xF0\x9F\x98\x80"), "\xF0\x9F\x98\x80");
}

}  // namespace
}  // namespace tovri::test
