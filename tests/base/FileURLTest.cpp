#include <gtest/gtest.h>

#include "base/FileURL.h"

namespace tovri {
namespace {

TEST(FileURL, keepsEveryByteOfAPathThereAndBack) {
    struct Case {
        std::string path;
        FileURLKind kind;
        const char* text;
    };

    const Case cases[] = {
        {"/a b/c", FileURLKind::file, "file:///a%20b/c"},
        {"/a b", FileURLKind::folder, "file:///a%20b/"},
        {"/", FileURLKind::folder, "file:///"},                              // no second slash
        {"/50%/x?y#z", FileURLKind::file, "file:///50%25/x%3Fy%23z"},        // would end the path or start an encoding
        {"/a;b=c&d:e@f+g", FileURLKind::file, "file:///a;b=c&d:e@f+g"},      // all allowed in a URL path
        {"/\xC3\xA9/\xFF\xFE", FileURLKind::file, "file:///%C3%A9/%FF%FE"},  // UTF-8 and bytes that are not
        {"/line\nbreak\x7F", FileURLKind::file, "file:///line%0Abreak%7F"},
        {"/[x]|\\\"<>^`{}", FileURLKind::file, "file:///%5Bx%5D%7C%5C%22%3C%3E%5E%60%7B%7D"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(fileURLText(c.path, c.kind), c.text);
        EXPECT_EQ(parseFileURL(c.text), std::filesystem::path(c.path));
    }
}

TEST(FileURL, readsWhatOthersWrite) {
    EXPECT_EQ(parseFileURL("file://localhost/a"), std::filesystem::path("/a"));
    EXPECT_EQ(parseFileURL("file:///%c3%a9"), std::filesystem::path("/\xC3\xA9"));
    EXPECT_EQ(parseFileURL("file:///a//"), std::filesystem::path("/a"));
}

TEST(FileURL, refusesWhatNamesNoLocalPath) {
    const char* const refused[] = {
        "",
        "/a",
        "file:",
        "file://",
        "file:a",
        "file://host/a",
        "http:///a",
        "file:///%",
        "file:///%2",
        "file:///%G0",
        "file:///a%00b",
        "file:///a%2Fb",
        "file:///a?b",
        "file:///a#b",
        "file:///a b",
        "file:///a\nb",
        "file:///\xC3\xA9",
        "file://localhostess/a",
    };
    for (const char* text : refused) EXPECT_EQ(parseFileURL(text), std::nullopt) << text;
}

}  // namespace
}  // namespace tovri
