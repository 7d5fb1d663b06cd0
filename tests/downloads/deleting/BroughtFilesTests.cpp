#include <gtest/gtest.h>

#include "downloads/placing/BroughtFiles.h"
#include "support/MemoryFileManager.h"

namespace tovri::test {
namespace {

using Original = BroughtFiles::Original;

class Brought : public testing::Test {
public:
    // A file that has just come there.
    void bring(const std::filesystem::path& path, Original original = Original::gone) {
        files.put(path, path.native());
        EXPECT_TRUE(brought().note(path, *files.stamp(path), original));
    }

    // As the next process finds it.
    [[nodiscard]] BroughtFiles brought() { return {files, "/data/brought.list"}; }

    [[nodiscard]] std::optional<Original> find(const std::filesystem::path& path) { return brought().find(path); }

    MemoryFileManager files;
    bool isMade = files.createDirectories("/data").has_value();
};

TEST_F(Brought, areKnownByPathAndByThemselves) {
    bring("/d/f");
    bring("/d/deep/g", Original::kept);
    EXPECT_EQ(find("/d/f"), Original::gone);
    EXPECT_EQ(find("/d/deep/g"), Original::kept);
    EXPECT_EQ(find("/d/deep"), Original::kept);  // holds one
    EXPECT_EQ(find("/d/dee"), std::nullopt);
    ASSERT_TRUE(files.moveItem("/d/f", "/d/renamed", {}));
    EXPECT_EQ(find("/d/renamed"), Original::gone);
    files.put("/d/f", "edited and saved anew");
    EXPECT_EQ(find("/d/f"), Original::gone);
    // A number that was given to another file means nothing.
    ASSERT_TRUE(files.append("/d/renamed", "longer"));
    EXPECT_EQ(find("/d/renamed"), std::nullopt);
}

TEST_F(Brought, areForgottenWithTheirPlace) {
    bring("/d/f", Original::kept);
    bring("/d/g");
    brought().forget("/d/f");
    EXPECT_EQ(find("/d/f"), std::nullopt);
    bring("/d/f", Original::kept);
    EXPECT_EQ(find("/d/f"), Original::kept);
    EXPECT_EQ(find("/d/g"), Original::gone);
}

TEST_F(Brought, areKnownByThemselvesWhenAnotherFileHasTheirName) {
    bring("/d/f");
    bring("/d/other");
    ASSERT_TRUE(files.moveItem("/d/f", "/d/g", {}));
    ASSERT_TRUE(files.moveItem("/d/other", "/d/h", {}));
    bring("/d/f", Original::kept);
    brought().forget("/d/other");
    files.put("/d/other", "not brought");
    EXPECT_EQ(find("/d/f"), Original::kept);
    EXPECT_EQ(find("/d/g"), Original::gone);
    EXPECT_EQ(find("/d/h"), Original::gone);
    EXPECT_EQ(find("/d/other"), std::nullopt);
    // Nor does the list lose that when it is written anew.
    const std::string lines = *files.content("/data/brought.list");
    files.put("/data/brought.list", lines + std::string(5000, '\n'));
    EXPECT_EQ(find("/d/g"), Original::gone);
    EXPECT_LT(files.content("/data/brought.list")->size(), 5000);
    EXPECT_EQ(find("/d/f"), Original::kept);
    EXPECT_EQ(find("/d/g"), Original::gone);
    EXPECT_EQ(find("/d/h"), Original::gone);
    EXPECT_EQ(find("/d/other"), std::nullopt);
}

// As after a change of its content, or for another data folder.
TEST_F(Brought, areKnownByTheirMark) {
    files.put("/d/f", "one");
    ASSERT_TRUE(brought().mark("/d/f", Original::kept));
    EXPECT_EQ(find("/d/f"), Original::kept);
    ASSERT_TRUE(brought().mark("/d/f", Original::gone));
    ASSERT_TRUE(files.append("/d/f", "longer"));
    ASSERT_TRUE(files.moveItem("/d/f", "/d/g", {}));
    EXPECT_EQ(find("/d/g"), Original::gone);
    ASSERT_TRUE(brought().mark("/d/g", std::nullopt));
    EXPECT_EQ(find("/d/g"), std::nullopt);
}

// As on a volume that takes "F" for "f", and that gives its files other numbers when it is connected again.
TEST_F(Brought, areKnownByAnotherSpellingOfTheirName) {
    bring("/d/deep/f");
    bring("/d/f");
    const ByteBlob content = *files.content("/d/f");
    ASSERT_TRUE(files.moveItem("/d/f", "/data/elsewhere", {}));
    files.put("/d/other", content);
    files.put("/d/f", content);
    ASSERT_TRUE(files.cloneFile("/d/f", "/d/F"));
    EXPECT_EQ(find("/d/F"), Original::gone);
    EXPECT_EQ(find("/d/other"), std::nullopt);
}

TEST_F(Brought, surviveALineThatWasNotFinished) {
    bring("/d/f");
    const std::string whole = *files.content("/data/brought.list");
    for (std::size_t length = 1; length < whole.size(); ++length) {
        files.put("/data/brought.list", whole + whole.substr(0, length));
        bring("/d/g");
        ASSERT_EQ(find("/d/f"), Original::gone) << length;
        ASSERT_EQ(find("/d/g"), Original::gone) << length;
    }
}

TEST_F(Brought, areWrittenAnewWhenTheListSaysTheSameManyTimes) {
    bring("/d/f");
    const std::string line = *files.content("/data/brought.list");
    std::string many;
    for (int i = 0; i < 2000; ++i) many += line;
    files.put("/data/brought.list", many);
    EXPECT_EQ(find("/d/f"), Original::gone);
    EXPECT_EQ(files.content("/data/brought.list"), line);
}

}  // namespace
}  // namespace tovri::test
