#pragma once

#include "platform/FileManagerContract.h"

// What a file is and what it says when it goes from one name to another; the rest of FileManagerContract.
namespace tovri::test {

TEST_P(FileManagerContract, movesOnlyWhereNothingStands) {
    for (const Path& target : {here / "to", elsewhere / "to"}) {
        put(here / "a", "new");
        ASSERT_TRUE(files.createDirectories(target));
        ASSERT_TRUE(files.moveItem(here / "a", target / "a", {}));
        EXPECT_EQ(content(target / "a"), "new");
        EXPECT_FALSE(files.exists(here / "a"));

        put(here / "a", "newer");
        ASSERT_TRUE(files.createDirectories(target / "folder"));
        for (const char* taken : {"a", "folder"}) {
            const auto moved = files.moveItem(here / "a", target / taken, {});
            ASSERT_FALSE(moved);
            EXPECT_EQ(moved.error().code, ErrorCase::alreadyExists);
        }
        EXPECT_EQ(content(here / "a"), "newer");
        EXPECT_EQ(content(target / "a"), "new");
        EXPECT_THAT(names(target), UnorderedElementsAre("a", "folder"));
    }
}

TEST_P(FileManagerContract, replacesAFileForGood) {
    for (const Path& target : {here / "to", elsewhere / "to"}) {
        ASSERT_TRUE(files.createDirectories(target));
        put(target / "file", "old");
        for (const char* name : {"file", "nothing"}) {
            put(here / "a", "new");
            ASSERT_TRUE(files.replaceItem(here / "a", target / name, {})) << name;
            EXPECT_EQ(content(target / name), "new");
            EXPECT_FALSE(files.exists(here / "a"));
        }
        EXPECT_THAT(names(target), UnorderedElementsAre("file", "nothing"));
    }
}

TEST_P(FileManagerContract, aFolderThatIsReplacedKeepsAllThatItHolds) {
    const std::string longest = std::string(243, 'n') + "\xC3\xA9" + std::string(10, 'n');
    for (const Path& target : {here / "to", elsewhere / "to"}) {
        for (int time = 1; time <= 2; ++time) {
            for (const std::string& name : {std::string("name"), longest}) {
                ASSERT_TRUE(files.createDirectories(target / name / "deep"));
                put(target / name / "deep/file", std::to_string(time));
                put(here / "a", "new");
                ASSERT_TRUE(files.replaceItem(here / "a", target / name, {}));
                EXPECT_EQ(content(target / name), "new");
                EXPECT_FALSE(files.exists(here / "a"));
                ASSERT_TRUE(files.removeItem(target / name));
            }
        }
        const std::string cut(243, 'n');  // not in the middle of a letter
        EXPECT_THAT(names(target), UnorderedElementsAre("name (replaced)", "name (replaced 2)", cut + " (replaced)",
                                                        cut.substr(1) + " (replaced 2)"));
        EXPECT_EQ(content(target / "name (replaced)/deep/file"), "1");
        EXPECT_EQ(content(target / "name (replaced 2)/deep/file"), "2");
        EXPECT_EQ(content(target / (cut + " (replaced)") / "deep/file"), "1");
    }
}

TEST_P(FileManagerContract, failedReplacementLeavesTheOldEntry) {
    for (const Path& target : {here / "to", elsewhere / "to"}) {
        ASSERT_TRUE(files.createDirectories(target / "folder"));
        put(target / "folder/file", "old");
        put(target / "file", "old");
        EXPECT_FALSE(files.replaceItem(here / "missing", target / "folder", {}));
        EXPECT_FALSE(files.replaceItem(target / "folder/file", target / "folder", {}));  // gone with its folder
        EXPECT_FALSE(files.replaceItem(here / "missing", target / "file", {}));
        EXPECT_EQ(content(target / "folder/file"), "old");
        EXPECT_EQ(content(target / "file"), "old");
        EXPECT_THAT(names(target), UnorderedElementsAre("folder", "file"));
    }
}

TEST_P(FileManagerContract, stoppedMoveBetweenVolumesLeavesNothing) {
    put(here / "a", "bytes");
    put(elsewhere / "old", "old");
    std::stop_source stop;
    stop.request_stop();
    for (const auto& moved : {files.moveItem(here / "a", elsewhere / "a", stop.get_token()),
                              files.replaceItem(here / "a", elsewhere / "old", stop.get_token())}) {
        if (files.identity(here)->volume == files.identity(elsewhere)->volume) GTEST_SKIP() << "one volume only";
        ASSERT_FALSE(moved);
        EXPECT_TRUE(moved.error().isCancellation());
    }
    EXPECT_EQ(content(here / "a"), "bytes");
    EXPECT_EQ(content(elsewhere / "old"), "old");
    EXPECT_THAT(names(elsewhere), ElementsAre("old"));
}

TEST_P(FileManagerContract, carriesManyBytesBetweenVolumes) {
    std::string bytes((9U << 20U) + 3, 'x');  // more than one step of a copy, and no round number
    for (std::size_t i = 0; i < bytes.size(); i += 997) bytes[i] = static_cast<char>(i % 251);
    put(here / "a", bytes);
    // A leftover of a killed copy makes way.
    put(gatheringPath(here / "a", elsewhere / "b"), "left");
    ASSERT_TRUE(files.moveItem(here / "a", elsewhere / "b", {}));
    EXPECT_TRUE(content(elsewhere / "b") == bytes);
    ASSERT_TRUE(files.cloneFile(elsewhere / "b", here / "c"));
    EXPECT_TRUE(content(here / "c") == bytes);
}

TEST_P(FileManagerContract, clonesLastBeyondTheirOriginal) {
    put(here / "a", "bytes");
    for (const Path& clone : {here / "clone", elsewhere / "clone"}) {
        ASSERT_TRUE(files.cloneFile(here / "a", clone));
        const auto again = files.cloneFile(here / "a", clone);
        ASSERT_FALSE(again);
        EXPECT_EQ(again.error().code, ErrorCase::alreadyExists);
    }
    ASSERT_TRUE(files.removeItem(here / "a"));
    EXPECT_EQ(content(here / "clone"), "bytes");
    EXPECT_EQ(content(elsewhere / "clone"), "bytes");
    EXPECT_FALSE(files.cloneFile(here, here / "folder"));
    EXPECT_FALSE(files.cloneFile(here / "a", here / "b"));
    EXPECT_THAT(names(here), ElementsAre("clone"));
}

TEST_P(FileManagerContract, knowsAFileUnderEveryName) {
    put(here / "a", "bytes");
    put(here / "b", "bytes");
    const auto identity = files.identity(here / "a");
    ASSERT_TRUE(identity);
    EXPECT_NE(identity, files.identity(here / "b"));
    EXPECT_EQ(files.identity(here / "none"), std::nullopt);
    ASSERT_TRUE(files.moveItem(here / "a", here / "c", {}));
    EXPECT_EQ(files.identity(here / "c"), identity);

    // Replacing one name of a file by another of the same file still ends with one.
    ASSERT_TRUE(files.cloneFile(here / "c", here / "d"));
    ASSERT_TRUE(files.replaceItem(here / "d", here / "c", {}));
    EXPECT_EQ(content(here / "c"), "bytes");
    EXPECT_THAT(names(here), UnorderedElementsAre("b", "c"));
}

TEST_P(FileManagerContract, aMarkStaysWithItsFile) {
    put(here / "a", "bytes");
    const auto stamp = files.stamp(here / "a");
    ASSERT_TRUE(files.setMark(here / "a", "word"));
    if (files.mark(here / "a").empty()) GTEST_SKIP() << "the temporary folder's volume keeps no marks";
    EXPECT_NE(files.stamp(here / "a"), stamp);
    ASSERT_TRUE(files.appendToFile(here / "a", "more"));
    ASSERT_TRUE(files.moveItem(here / "a", here / "b", {}));
    EXPECT_EQ(files.mark(here / "b"), "word");
    put(elsewhere / "c", "old");
    ASSERT_TRUE(files.replaceItem(here / "b", elsewhere / "c", {}));
    EXPECT_EQ(files.mark(elsewhere / "c"), "word");
    ASSERT_TRUE(files.setMark(elsewhere / "c", ""));
    ASSERT_TRUE(files.setMark(elsewhere / "c", ""));
    EXPECT_EQ(files.mark(elsewhere / "c"), "");
    EXPECT_EQ(files.mark(here / "none"), "");
    EXPECT_FALSE(files.setMark(here / "none", "word"));
}

}  // namespace tovri::test
