#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/FileManager.h"

namespace tovri::test {

// A file manager with two empty folders of its own, on two volumes where the machine has them.
class FileWorld {
public:
    virtual ~FileWorld() = default;

    [[nodiscard]] virtual FileManager& files() = 0;
    [[nodiscard]] virtual std::filesystem::path folder() = 0;
    [[nodiscard]] virtual std::filesystem::path folderElsewhere() = 0;
};

class FileManagerContract : public testing::TestWithParam<std::function<std::unique_ptr<FileWorld>()>> {
public:
    using Path = std::filesystem::path;

    void put(const Path& path, std::string_view bytes) { ASSERT_TRUE(files.writeFileAtomically(path, bytes)); }

    std::string content(const Path& path) { return files.readFile(path).value_or("<none>"); }

    std::vector<std::string> names(const Path& path) {
        std::vector<std::string> found;
        for (const Path& entry : files.directoryContents(path).value_or(std::vector<Path>()))
            found.push_back(entry.filename());
        return found;
    }

    std::unique_ptr<FileWorld> world = GetParam()();
    FileManager& files = world->files();
    Path here = world->folder();
    Path elsewhere = world->folderElsewhere();
};

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_P(FileManagerContract, replacesContentWithAllPiecesOrNone) {
    put(here / "a", "old");
    const auto refuse = [](const FileManager::Sink& sink) -> Result<void> {
        if (auto taken = sink("half of "); !taken) return taken;
        return failure(Error(ErrorCase::file, "No more."));
    };
    const auto refused = files.writeFileAtomically(here / "a", refuse);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().description, "No more.");
    EXPECT_EQ(content(here / "a"), "old");
    EXPECT_THAT(names(here), ElementsAre("a"));

    ASSERT_TRUE(files.writeFileAtomically(here / "a", [](const FileManager::Sink& sink) {
        auto taken = sink("all of ");
        return taken ? sink("it") : taken;
    }));
    EXPECT_EQ(content(here / "a"), "all of it");
}

TEST_P(FileManagerContract, seesThatAFileIsNotWhatItWas) {
    put(here / "a", "bytes");
    const auto stamp = files.stamp(here / "a");
    ASSERT_TRUE(stamp);
    EXPECT_EQ(stamp->identity, files.identity(here / "a"));
    EXPECT_EQ(stamp->size, 5);
    EXPECT_EQ(files.stamp(here / "a"), stamp);
    put(here / "a", "other");
    EXPECT_NE(files.stamp(here / "a"), stamp);
    EXPECT_EQ(files.stamp(here), std::nullopt);
    EXPECT_EQ(files.stamp(here / "none"), std::nullopt);
}

TEST_P(FileManagerContract, tellsWhatIsWithinAFolder) {
    EXPECT_TRUE(files.isWithin(here, here));
    EXPECT_TRUE(files.isWithin(here / "yet/to be", here / ""));
    EXPECT_TRUE(files.isWithin(elsewhere / ".." / elsewhere.filename() / "a", elsewhere));
    EXPECT_FALSE(files.isWithin(here, here / "below"));
    EXPECT_FALSE(files.isWithin(here.native() + "2", here));
}

TEST_P(FileManagerContract, namesAreBytes) {
    const std::string longest(255, 'n');
    for (const std::string& name : {std::string("caf\xE9 \xFF"), std::string("line\nbreak"), std::string("a\\b:*?"),
                                    std::string(" . "), longest}) {
        put(here / name, name);
        ASSERT_TRUE(files.moveItem(here / name, elsewhere / name, {})) << name;
        ASSERT_TRUE(files.replaceItem(elsewhere / name, here / name, {})) << name;
        EXPECT_EQ(content(here / name), name);
        EXPECT_THAT(names(here), ElementsAre(name));
        EXPECT_TRUE(files.makeDurable(here / name));
        EXPECT_TRUE(files.removeItem(here / name));
    }
    EXPECT_THAT(names(elsewhere), IsEmpty());
    put(here / "a", "bytes");
    for (const Path& target : {here, elsewhere}) EXPECT_FALSE(files.moveItem(here / "a", target / (longest + "n"), {}));
    EXPECT_EQ(content(here / "a"), "bytes");
}

TEST_P(FileManagerContract, makesAndListsFolders) {
    ASSERT_TRUE(files.createDirectories(here / "a/b/c"));
    ASSERT_TRUE(files.createDirectories(here / "a/b/c"));
    put(here / "a/.hidden", "1234");
    EXPECT_THAT(files.directoryContents(here / "a").value(), UnorderedElementsAre(here / "a/b", here / "a/.hidden"));
    EXPECT_EQ(files.fileSize(here / "a/.hidden"), 4);
    EXPECT_EQ(files.fileSize(here / "a"), std::nullopt);
    EXPECT_FALSE(files.createDirectories(here / "a/.hidden/d"));
    EXPECT_FALSE(files.createDirectories(here / "a/.hidden"));
    EXPECT_FALSE(files.directoryContents(here / "none"));

    ASSERT_TRUE(files.removeItem(here / "a"));
    EXPECT_FALSE(files.exists(here / "a"));
    EXPECT_FALSE(files.removeItem(here / "a"));
}

TEST_P(FileManagerContract, makesAPrivateFolderInOneThatIsThere) {
    ASSERT_TRUE(files.createPrivateFolder(here / "p"));
    ASSERT_TRUE(files.createPrivateFolder(here / "p"));
    put(here / "p/file", "bytes");
    EXPECT_FALSE(files.createPrivateFolder(here / "p/file"));
    EXPECT_FALSE(files.createPrivateFolder(here / "none/p"));
    EXPECT_FALSE(files.exists(here / "none"));
}

TEST_P(FileManagerContract, writesReadsAndAppends) {
    put(here / "a", "old and long");
    put(here / "a", "new");
    EXPECT_EQ(content(here / "a"), "new");
    EXPECT_FALSE(files.writeFileAtomically(here / "none/a", "x"));
    EXPECT_FALSE(files.writeFileAtomically(here, "x"));
    ASSERT_TRUE(files.appendToFile(here / "log", "1"));
    ASSERT_TRUE(files.appendToFile(here / "log", "2"));
    EXPECT_EQ(content(here / "log"), "12");

    auto created = files.createFile(here / "b");
    ASSERT_TRUE(created);
    ASSERT_TRUE((*created)->write("abc"));
    ASSERT_TRUE((*created)->write("de"));
    EXPECT_EQ(files.createFile(here / "b").error().code, ErrorCase::alreadyExists);
    auto opened = files.openForReading(here / "b");
    ASSERT_TRUE(opened);
    EXPECT_EQ((*opened)->read(4), "abcd");
    EXPECT_EQ((*opened)->read(4), "e");
    EXPECT_EQ((*opened)->read(4), "");
    EXPECT_FALSE(files.openForReading(here));
    EXPECT_FALSE(files.readFile(here));
    EXPECT_FALSE(files.makeDurable(here));
    EXPECT_TRUE(files.makeFolderDurable(here));
    EXPECT_FALSE(files.makeFolderDurable(here / "none"));
    EXPECT_THAT(names(here), UnorderedElementsAre("a", "b", "log"));
}

// Few, and so many that they may be taken to the disk in another way.
TEST_P(FileManagerContract, tellsOfEachOfManyFilesWhetherItIsDurable) {
    EXPECT_THAT(files.makeAllDurable({}), IsEmpty());
    for (const std::size_t count : {std::size_t{2}, std::size_t{40}}) {
        std::vector<Path> paths;
        for (std::size_t i = 0; i < count; ++i) {
            paths.push_back((i % 2 == 0 ? here : elsewhere) / std::to_string(i));
            put(paths.back(), "bytes");
        }
        paths.insert(paths.begin() + 1, {here / "none", here});
        const std::vector<Result<void>> outcomes = files.makeAllDurable(paths);
        ASSERT_EQ(outcomes.size(), paths.size());
        for (std::size_t i = 0; i < paths.size(); ++i) EXPECT_EQ(outcomes[i].has_value(), i != 1 && i != 2) << paths[i];
        EXPECT_THAT(outcomes[1].error().description, HasSubstr("none"));
    }
}

TEST_P(FileManagerContract, knowsTheVolumeOfAPathThatIsYetToBe) {
    put(here / "file", "bytes");
    const Volume volume = files.volume(here).value();
    EXPECT_EQ(volume.folder, here);
    EXPECT_EQ(volume.number, files.identity(here)->volume);
    EXPECT_NE(volume.identity, "");
    EXPECT_GE(volume.longestName, 255U);
    EXPECT_TRUE(volume.isWritable);
    EXPECT_LE(volume.available, volume.total);
    for (const Path& path : {here / "yet/to/be", here / "file", here / "file/below"}) {
        const Volume same = files.volume(path).value();
        EXPECT_EQ(same.folder, here);
        EXPECT_EQ(same.identity, volume.identity);
        EXPECT_EQ(same.number, volume.number);
    }
    const Volume other = files.volume(elsewhere).value();
    EXPECT_EQ(other.identity == volume.identity, other.number == volume.number);
    if (volume.keepsNumbers) {
        const std::vector<Path> points = files.mountPoints(volume.identity);
        EXPECT_TRUE(std::ranges::any_of(points, [&](const Path& point) {
            return files.volume(point)->identity == volume.identity && files.isWithin(here, point);
        }));
    }
    EXPECT_THAT(files.mountPoints("uuid:none"), testing::IsEmpty());
}

TEST_P(FileManagerContract, fillsAFileInAnyOrder) {
    const Path path = here / "new/folders/part";
    auto file = files.createForWriting(path).value();
    ASSERT_TRUE(file->allocate(1'000'000).value());
    EXPECT_EQ(file->size(), 0);
    EXPECT_EQ(files.fileSize(path), 0);
    const std::string large(9U << 20U, 'x');  // more than what is handed to the disk at a time
    ASSERT_TRUE(file->writeAt(6, large));
    ASSERT_TRUE(file->writeAt(2, "cd"));
    EXPECT_EQ(file->size(), 6 + static_cast<ByteCount>(large.size()));
    EXPECT_EQ(file->readAt(0, 7), std::string("\0\0cd\0\0x", 7));
    EXPECT_EQ(file->readAt(file->size() - 1, 7), "x");
    EXPECT_EQ(file->readAt(file->size() + 1, 7), "");
    EXPECT_TRUE(file->synchronize());
    EXPECT_EQ(files.createForWriting(path).error().code, ErrorCase::alreadyExists);

    file = files.reopenForWriting(path, 4).value();
    EXPECT_EQ(file->size(), 4);
    ASSERT_TRUE(file->writeAt(4, "ef"));
    EXPECT_EQ(content(path), std::string("\0\0cdef", 6));
}

TEST_P(FileManagerContract, whatIsNotThereAnyMoreCannotBeGoneOnWith) {
    put(here / "part", "123");
    for (const Path& path : {here / "part", here / "none", here}) {
        const auto reopened = files.reopenForWriting(path, 4);
        ASSERT_FALSE(reopened);
        EXPECT_EQ(reopened.error().description,
                  "The part of the file that had arrived is gone; the download starts over.");
    }
    EXPECT_EQ(content(here / "part"), "123");
    EXPECT_FALSE(files.createForWriting(here / "part/below"));
}

TEST_P(FileManagerContract, failuresNameThePath) {
    const Path missing = here / "no such folder" / "a";
    put(here / "a", "x");
    const Result<void> failed[] = {files.moveItem(here / "a", missing, {}), files.removeItem(missing),
                                   files.cloneFile(here / "a", missing),    files.makeDurable(missing),
                                   files.writeFileAtomically(missing, "x"), files.appendToFile(missing, "x")};
    for (const auto& result : failed) {
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().code, ErrorCase::file);
        EXPECT_THAT(result.error().description, HasSubstr((here / "no such folder").string()));
    }
}

}  // namespace tovri::test
