#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/posix/Unprivileged.h"
#include "platform/posix/files/PosixFileManager.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using Path = std::filesystem::path;

// What others may do with a file, and through which group or access list.
struct Permissions {
    mode_t mode = 0;
    gid_t group = 0;
    std::string list;

    static Permissions of(const Path& file) {
        struct stat status{};
        ::lstat(file.c_str(), &status);
        std::string list(1000, '\0');
        const ssize_t length = ::getxattr(file.c_str(), "system.posix_acl_access", list.data(), list.size());
        list.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
        return {status.st_mode & 07777U, status.st_gid, list};
    }

    bool operator==(const Permissions&) const = default;
};

// An access list as file systems keep it (linux/posix_acl_xattr.h): the owner may do all, one user more reads and
// writes, nobody else anything.
std::string listWithUser(std::uint32_t user) {
    struct Entry {
        std::uint16_t tag;
        std::uint16_t rights;
        std::uint32_t id;
    };

    constexpr auto nobody = static_cast<std::uint32_t>(-1);
    const Entry entries[] = {
        {0x01, 7, nobody}, {0x02, 6, user}, {0x04, 0, nobody}, {0x10, 7, nobody}, {0x20, 0, nobody},
    };
    std::string list("\2\0\0\0", 4);
    for (const Entry& entry : entries) {
        std::string bytes(sizeof entry, '\0');
        std::memcpy(bytes.data(), &entry, sizeof entry);
        list += bytes;
    }
    return list;
}

// Downloads that go to a folder on this volume and to one on another.
class FolderPermissions : public testing::Test {
public:
    FolderPermissions() : before_(::umask(027)) {}

    ~FolderPermissions() override { ::umask(before_); }

    // A private file, in its place on either volume, has what a file that the user made there would have.
    void expectAsIfMadeThere(const Path& target) { expectAsIfMadeThere(target, files); }

    void expectAsIfMadeThere(const Path& target, PosixFileManager& program) const {
        std::filesystem::remove(target / "made");
        std::filesystem::remove(target / "arrived");
        const int made = ::open((target / "made").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0666);
        ASSERT_GE(made, 0);
        ::close(made);
        ASSERT_TRUE(program.createForWriting(here.path / "private"));
        const auto adopted = program.adoptFolderPermissions(here.path / "private", target);
        ASSERT_TRUE(adopted) << adopted.error().description;
        ASSERT_TRUE(program.moveItem(here.path / "private", target / "arrived", {}));
        EXPECT_EQ(Permissions::of(target / "arrived"), Permissions::of(target / "made"));
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(target), std::filesystem::directory_iterator()), 2);
    }

    PosixFileManager files;
    TemporaryFolder here;
    TemporaryFolder elsewhere{std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : here.path};
    Path targets[2] = {here.path / "target", elsewhere.path / "target"};

private:
    mode_t before_;
};

TEST_F(FolderPermissions, followTheUmaskAndTheFoldersGroup) {
    for (const Path& target : targets) {
        SCOPED_TRACE(target);
        ASSERT_TRUE(files.createDirectories(target));
        for (const mode_t mask : {022U, 002U, 077U}) {
            ::umask(mask);
            PosixFileManager started;  // a program keeps the umask that it was started with
            expectAsIfMadeThere(target, started);
        }
        constexpr gid_t other = 54321;
        if (::chown(target.c_str(), static_cast<uid_t>(-1), other) != 0) GTEST_SKIP() << "may not give a group away";
        ASSERT_EQ(::chmod(target.c_str(), S_ISGID | 0777U), 0);
        ::umask(002);
        expectAsIfMadeThere(target);
        EXPECT_EQ(Permissions::of(target / "arrived").group, other);
    }
}

TEST_F(FolderPermissions, followTheFoldersDefaultList) {
    constexpr std::uint32_t user = 54321;
    const std::string list = listWithUser(user);
    for (const Path& target : targets) {
        SCOPED_TRACE(target);
        ASSERT_TRUE(files.createDirectories(target));
        if (::setxattr(target.c_str(), "system.posix_acl_default", list.data(), list.size(), 0) != 0)
            GTEST_SKIP() << "no access lists on " << target;
        expectAsIfMadeThere(target);
        EXPECT_NE(Permissions::of(target / "arrived").list, "");
        ASSERT_EQ(::removexattr(target.c_str(), "system.posix_acl_default"), 0);
        expectAsIfMadeThere(target);
        EXPECT_EQ(Permissions::of(target / "arrived").list, "");
    }
}

// A file that was private under a list of its own loses it.
TEST_F(FolderPermissions, replaceTheListThatTheFileHas) {
    const std::string list = listWithUser(54321);
    if (::setxattr(here.path.c_str(), "system.posix_acl_default", list.data(), list.size(), 0) != 0)
        GTEST_SKIP() << "no access lists on " << here.path;
    ASSERT_TRUE(files.createDirectories(targets[1]));
    ASSERT_TRUE(files.createForWriting(here.path / "private"));
    ASSERT_TRUE(files.adoptFolderPermissions(here.path / "private", targets[1]));
    EXPECT_EQ(Permissions::of(here.path / "private").list, "");
    EXPECT_EQ(Permissions::of(here.path / "private").mode, 0640U);
}

TEST_F(FolderPermissions, giveAnotherGroupNothingInTheStead) {
    const Path target = targets[0];
    ASSERT_TRUE(files.createDirectories(target));
    if (::chown(target.c_str(), static_cast<uid_t>(-1), 54321) != 0) GTEST_SKIP() << "may not give a group away";
    ASSERT_EQ(::chmod(target.c_str(), S_ISGID | 0777U), 0);
    ASSERT_EQ(::chmod(here.path.c_str(), 0777), 0);
    const Unprivileged user;  // who is not in that group
    ASSERT_TRUE(files.createForWriting(here.path / "private"));
    ASSERT_TRUE(files.adoptFolderPermissions(here.path / "private", target));
    EXPECT_EQ(Permissions::of(here.path / "private").mode, 0600U);
}

TEST_F(FolderPermissions, needAFileAndAFolder) {
    ASSERT_TRUE(files.createForWriting(here.path / "private"));
    EXPECT_FALSE(files.adoptFolderPermissions(here.path / "private", here.path / "none"));
    EXPECT_FALSE(files.adoptFolderPermissions(here.path / "none", here.path));
    std::filesystem::create_symlink("private", here.path / "link");
    EXPECT_FALSE(files.adoptFolderPermissions(here.path / "link", here.path));
    EXPECT_EQ(Permissions::of(here.path / "private").mode, 0600U);
}

}  // namespace
}  // namespace tovri::test
