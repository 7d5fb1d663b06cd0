#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/display/DisplayText.h"
#include "cli/display/LiveArea.h"
#include "cli/display/ProgressLayout.h"

namespace tovri::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

ProgressPicture picture(std::size_t rows) {
    ProgressPicture result;
    for (std::size_t i = 0; i < rows; ++i)
        result.rows.push_back(
            {"\xE6\x97\xA5\xE6\x9C\xAC a rather long name of a film.mkv", 0.5, "123.4 MB/s", "59m 59s left", ""});
    result.total = {3, 14, "1.25 GB / 3.47 GB", "36%", "123.4 MB/s", "1h 2m left"};
    return result;
}

TEST(ProgressLayout, fitsEveryTerminal) {
    for (std::size_t columns = 1; columns <= 200; ++columns) {
        for (const bool hasUnicode : {true, false}) {
            ProgressPicture shown = picture(3);
            shown.rows[1].state = "Waiting \xE2\x80\x94 file already exists";
            for (const std::string& line : layOut(shown, {columns, 24, false, hasUnicode}))
                EXPECT_LE(columnsOf(line), std::max<std::size_t>(columns - 1, 5)) << columns << ": " << line;
        }
    }
}

TEST(ProgressLayout, leavesOutWhatMattersLeast) {
    const auto row = [](std::size_t columns) { return layOut(picture(1), {columns, 24, false, false})[0]; };
    EXPECT_EQ(row(40),
              "\xE6\x97\xA5\xE6\x9C\xAC a rat\xE2\x80\xA6"
              "m.mkv ###---  50% 123.4 MB/s");
    EXPECT_THAT(row(80), HasSubstr("#######--------  50% 123.4 MB/s  59m 59s left"));
    EXPECT_THAT(row(30), Not(HasSubstr("MB/s")));

    const auto total = [](std::size_t columns) { return layOut(picture(1), {columns, 24, false, false})[1]; };
    EXPECT_EQ(total(80), "Total 3 of 14, 36%, 1.25 GB / 3.47 GB, 123.4 MB/s, 1h 2m left");
    EXPECT_EQ(total(60), "Total 3 of 14, 36%, 123.4 MB/s, 1h 2m left");
    EXPECT_EQ(total(40), "Total 3 of 14, 36%, 123.4 MB/s");
    EXPECT_EQ(total(20), "Total 3 of 14, 36%");
}

TEST(ProgressLayout, leavesRoomOnALowTerminal) {
    const auto lines = layOut(picture(10), {80, 8, false, true});
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[4], "and 6 more");
}

TEST(ProgressLayout, colorsOnlyWhereItMay) {
    for (const std::string& line : layOut(picture(2), {80, 24, false, true})) EXPECT_THAT(line, Not(HasSubstr("\x1b")));
    for (const std::string& line : layOut(picture(2), {80, 24, true, true})) EXPECT_THAT(line, HasSubstr("\x1b[0m"));
}

TEST(LiveArea, drawsOverWhatStoodThere) {
    LiveArea area;
    EXPECT_EQ(area.replace({"one", "two"}, 80), "one\x1b[K\ntwo\x1b[K\n\x1b[J");
    EXPECT_EQ(area.replace({"three"}, 80), "\x1b[2A\rthree\x1b[K\n\x1b[J");
    EXPECT_EQ(area.insertAbove("text\n", 80), "\x1b[1A\r\x1b[Jtext\nthree\x1b[K\n");
    EXPECT_EQ(area.replace({}, 80), "\x1b[1A\r\x1b[J");
    EXPECT_EQ(area.insertAbove("text\n", 80), "text\n");
}

TEST(LiveArea, knowsThatANarrowerTerminalBrokeItsLines) {
    LiveArea area;
    EXPECT_NE(area.replace({std::string(79, 'x'), "\x1b[36mshort\x1b[0m"}, 80), "");
    EXPECT_THAT(area.replace({"y"}, 40), testing::StartsWith("\x1b[3A\r"));
}

}  // namespace
}  // namespace tovri::cli
