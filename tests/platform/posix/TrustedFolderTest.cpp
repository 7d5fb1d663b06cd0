#include <csignal>
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/PosixFileManagerFixture.h"

namespace tovri::test {
namespace {

// A process that lets two entries change their places all the time, as whoever shares their folder may.
class Swapper {
public:
    Swapper(const Path& a, const Path& b) : process_(::fork()) {
        if (process_ != 0) return;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        while (::renameat2(AT_FDCWD, a.c_str(), AT_FDCWD, b.c_str(), RENAME_EXCHANGE) == 0) {
        }
        ::_exit(1);
    }

    Swapper(const Swapper&) = delete;
    Swapper& operator=(const Swapper&) = delete;

    ~Swapper() {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }

private:
    pid_t process_;
};

TEST_F(PosixFileManagerTest, nobodyTurnsAsideWhatIsOnItsWay) {
    constexpr int times = 1000;
    const Path shared = here / "shared";
    std::filesystem::create_directories(shared / "Film");
    std::filesystem::create_directory(here / "target");
    std::filesystem::create_directory_symlink(here / "target", shared / "link");
    ASSERT_EQ(::chmod(shared.c_str(), 0777), 0);
    const Swapper swapper(shared / "Film", shared / "link");
    for (int number = 0; number < times; ++number) {
        const std::string name = std::to_string(number);
        std::ofstream(here / "file") << "bytes";
        (void)files.createDirectories(shared / "Film" / (name + " folder"));
        (void)files.moveItem(here / "file", shared / "Film" / name, {});
        std::ofstream(here / "file") << "other bytes";
        (void)files.replaceItem(here / "file", shared / "Film" / name, {});
    }
    EXPECT_EQ(entriesIn(here / "target"), 0U);
}

TEST_F(PosixFileManagerTest, goesByLinksThatAreTheUsersOwn) {
    std::filesystem::create_directories(here / "a/real");
    std::filesystem::create_directory_symlink("../a/./real", here / "a/first");
    std::filesystem::create_directory_symlink(here / "a/first/../first", here / "second");
    std::filesystem::create_directory_symlink("circle", here / "circle");
    std::ofstream(here / "file") << "bytes";
    EXPECT_TRUE(files.createDirectories(here / "second/new/folder/"));
    EXPECT_TRUE(files.moveItem(here / "file", here / "second/new/folder/file", {}));
    EXPECT_EQ(content(here / "a/real/new/folder/file"), "bytes");
    EXPECT_FALSE(files.createDirectories(here / "circle/new"));
    EXPECT_FALSE(files.createDirectories(here / "second/new/folder/file/below"));
}

}  // namespace
}  // namespace tovri::test
