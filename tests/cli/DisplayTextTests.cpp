#include <string>

#include <gtest/gtest.h>

#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"

namespace tovri::cli {
namespace {

constexpr const char* replaced = "\xEF\xBF\xBD";

TEST(DisplayText, letsNothingThroughThatATerminalObeys) {
    struct Case {
        std::string bytes;
        std::string expected;
    };

    const Case cases[] = {
        {"plain name.mkv", "plain name.mkv"},
        {"\x1b[31mred", replaced + std::string("[31mred")},  // a control sequence
        {"line\nbreak\r\t", "line" + std::string(replaced) + "break" + replaced + replaced},
        {std::string("nul\0nul", 7), "nul" + std::string(replaced) + "nul"},
        {"\x7f", replaced},  // delete
        {"\xC2\x9B"
         "31m",
         replaced + std::string("31m")},                                // the one-character form of escape-bracket
        {"\xE2\x80\xAEgpj.exe", replaced + std::string("gpj.exe")},     // right-to-left override
        {"\xE2\x80\xA8", replaced},                                     // line separator
        {"\xFF\xC3", replaced + std::string(replaced)},                 // no UTF-8, and cut off
        {"\xC0\xAF", replaced + std::string(replaced)},                 // overlong
        {"\xED\xA0\x80", std::string(replaced) + replaced + replaced},  // a surrogate
        {"e\xCC\x81 \xE6\x97\xA5 \xF0\x9F\x8E\xAC", "e\xCC\x81 \xE6\x97\xA5 \xF0\x9F\x8E\xAC"},
    };
    for (const Case& c : cases) EXPECT_EQ(printable(c.bytes), c.expected) << testing::PrintToString(c.bytes);
}

TEST(DisplayText, jsonIsExactAndCommandsNoTerminal) {
    JSON json;
    json.beginObject().field("name", "\x1b[31m\n\x7F\xC2\x9B\xE2\x80\xAE\xFFé").endObject();
    EXPECT_EQ(json.line(), R"({"name":"\u001B[31m\n\u007f\u009b\u202e�é"})");
}

TEST(DisplayText, countsColumnsAsATerminalDoes) {
    EXPECT_EQ(columnsOf("abc"), 3U);
    EXPECT_EQ(columnsOf("e\xCC\x81"), 1U);                 // a combining acute
    EXPECT_EQ(columnsOf("\xE6\x97\xA5\xE6\x9C\xAC"), 4U);  // two wide characters
    EXPECT_EQ(columnsOf("\xF0\x9F\x8E\xAC"), 2U);          // an emoji
}

TEST(DisplayText, shortensWithinTheColumnsAndKeepsTheEnd) {
    EXPECT_EQ(shortened("short.mkv", 9), "short.mkv");
    EXPECT_EQ(shortened("a long name of a film.mkv", 13), "a long n\xE2\x80\xA6.mkv");
    const std::string wide = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE6\x98\xA0\xE7\x94\xBB.mkv";
    const std::string marked =
        "e\xCC\x81"
        "e\xCC\x81"
        "e\xCC\x81"
        "e\xCC\x81"
        "e\xCC\x81.mkv";
    for (const std::string& name : {wide, marked, std::string("abcdefghijkl")}) {
        for (std::size_t columns = 0; columns < 20; ++columns) {
            EXPECT_LE(columnsOf(shortened(name, columns)), columns) << name;
            EXPECT_EQ(printable(shortened(name, columns)), shortened(name, columns)) << "a character was cut";
            EXPECT_EQ(columnsOf(leftAligned(name, columns)), columns) << name;
            EXPECT_EQ(columnsOf(rightAligned(name, columns)), columns) << name;
        }
    }
}

}  // namespace
}  // namespace tovri::cli
