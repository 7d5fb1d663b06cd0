#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/posix/files/PosixEntryLook.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

void setDate(const std::filesystem::path& path, std::time_t seconds) {
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, {.tv_sec = seconds, .tv_nsec = 5}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

TEST(PosixEntryLook, tellsSizeAndDateOfWhatStandsThere) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder.path / "file";
    std::ofstream(file) << "bytes";
    PosixEntryLook entries;
    setDate(file, 1'700'000'000);
    const Timestamp date{1'700'000'000s + 5ns};
    EXPECT_EQ(entries.look(file), (EntryFacts{.size = 5, .modified = date, .isFolder = false}));
    setDate(folder.path, 1'700'000'000);
    EXPECT_EQ(entries.look(folder.path), (EntryFacts{.size = {}, .modified = date, .isFolder = true}));

    std::filesystem::create_symlink("nowhere", folder.path / "link");
    ASSERT_TRUE(entries.look(folder.path / "link"));
    EXPECT_EQ(entries.look(folder.path / "link")->size, std::nullopt);
    EXPECT_EQ(entries.look(folder.path / "missing"), std::nullopt);
    setDate(file, 20'000'000'000);  // in the year 2603, which a clock of nanoseconds does not reach
    EXPECT_GT(entries.look(file)->modified, date);
}

}  // namespace
}  // namespace tovri::test
