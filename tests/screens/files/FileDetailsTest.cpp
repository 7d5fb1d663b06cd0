#include <gtest/gtest.h>

#include "screens/DateText.h"
#include "screens/SeenDetails.h"
#include "screens/files/FileDetails.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

class FileDetailsTest : public testing::Test {
public:
    static PutIOFile named(const char* name) {
        PutIOFile file;
        file.name = name;
        return file;
    }

    [[nodiscard]] std::string shown(const std::vector<const PutIOFile*>& selected) const {
        return seenText(fileDetails(selected, clock));
    }

    VirtualLoop loop;
    VirtualClock clock{loop};
};

TEST_F(FileDetailsTest, sayWhatPutIOSays) {
    PutIOFile film = named("Film.mkv");
    film.size = 1'234'567;
    film.contentType = "video/x-matroska";
    film.fileType = PutIOFile::FileType::video;
    film.createdAt = "2026-03-01T23:30:00";
    film.updatedAt = "yesterday";
    film.crc32 = "0badcafe";
    clock.offset = [](Timestamp) { return std::chrono::hours(1); };
    EXPECT_EQ(shown({&film}),
              "Film.mkv | Type: Video, video/x-matroska | Size: 1.2 MB (1,234,567 bytes) | Created: 2 Mar 2026, "
              "00:30:00 | Changed: yesterday | Checksum (CRC-32): 0badcafe | [Open on put.io]");

    PutIOFile folder = named("Films");
    folder.fileType = PutIOFile::FileType::folder;
    folder.contentType = "application/x-directory";
    EXPECT_EQ(shown({&folder}), "Films | Type: Folder | Size: Empty | [Open on put.io]");

    const PutIOFile bare = named("x");
    EXPECT_EQ(shown({&bare}),
              "x | Type: File | Size: 0 bytes | Checksum (CRC-32): put.io gives none | [Open on put.io]");

    EXPECT_EQ(shown({&film, &folder}), "2 items selected | Size together: 1.2 MB (1,234,567 bytes)");
    EXPECT_EQ(shown({}), "Select a file to see its details.");
}

TEST_F(FileDetailsTest, showADateThatIsNoneAsItStands) {
    for (const char* date : {"", "2026-13-01T00:00:00", "2026-02-30T00:00:00", "9999-01-01T00:00:00", "2026-01-01",
                             "2026-01-01T00:00:00+02:00", "-0001-01-01T00:00:00"})
        EXPECT_EQ(dateText(std::string(date), clock), date);
    for (const char* date : {"2026-01-09T04:05:06", "2026-01-09T04:05:06.123456", "2026-01-09T04:05:06Z"})
        EXPECT_EQ(dateText(std::string(date), clock), "9 Jan 2026, 04:05:06");
}

}  // namespace
}  // namespace tovri::test
