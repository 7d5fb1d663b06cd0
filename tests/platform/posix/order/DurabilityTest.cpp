#include <algorithm>
#include <cerrno>
#include <stop_token>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/PlacingNames.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/order/CallRecorder.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using Path = std::filesystem::path;
using Kind = SystemCall::Kind;

bool isBelow(const Path& path, const Path& folder) {
    return path.native().starts_with(folder.native() + "/");
}

// Two folders that count as two volumes.
class Durability : public testing::Test {
public:
    Durability() {
        recorder.fault = [this](const SystemCall& call) {
            const bool crosses = isBelow(call.from, here) && isBelow(call.path, elsewhere);
            return crosses ? EXDEV : fault(call);
        };
    }

    // Whether these were called in this order, others in between.
    struct Step {
        Kind kind;
        Path path;  // of synchronize: whatever has that name in the end
    };

    testing::AssertionResult wereCalled(const std::vector<Step>& steps) const {
        auto from = recorder.calls.begin();
        for (std::size_t i = 0; i < steps.size(); ++i) {
            from = std::find_if(from, recorder.calls.end(),
                                [&](const SystemCall& call) { return isThat(call, steps[i]); });
            if (from == recorder.calls.end())
                return testing::AssertionFailure() << "step " << i << " is missing: " << steps[i].path;
            ++from;
        }
        return testing::AssertionSuccess();
    }

    std::string content(const Path& path) { return files.readFile(path).value_or("<none>"); }

    // A file that lies on this volume, ready to go to the other.
    Path put(std::string_view bytes) {
        const auto written = files.writeFileAtomically(here / "file", bytes);
        EXPECT_TRUE(written);
        recorder.calls.clear();
        return here / "file";
    }

    TemporaryFolder folder;
    Path here = folder.path / "here";
    Path elsewhere = folder.path / "elsewhere";
    std::function<int(const SystemCall&)> fault = [](const SystemCall&) { return 0; };
    CallRecorder recorder;
    PosixFileManager files;
    bool areMade = files.createDirectories(here) && files.createDirectories(elsewhere);

protected:
    static bool isThat(const SystemCall& call, const Step& step) {
        if (call.kind != step.kind) return false;
        if (call.kind != Kind::synchronize) return call.path == step.path;
        struct stat status{};
        ::lstat(step.path.c_str(), &status);
        return call.file == SystemCall::FileNumber(status.st_dev, status.st_ino);
    }
};

TEST_F(Durability, aDurableFileHasItsBytesItsNameAndAllNewFoldersOnTheDisk) {
    const Path deep = here / "a/b";
    ASSERT_TRUE(files.createDirectories(deep));
    auto file = files.createForWriting(deep / "c/file").value();
    ASSERT_TRUE(file->writeAt(0, "bytes"));
    ASSERT_TRUE(files.makeDurable(deep / "c/file"));
    for (const Path& path : {deep / "c/file", deep / "c", deep, here / "a", here})
        EXPECT_TRUE(wereCalled({{Kind::synchronize, path}})) << path;

    recorder.calls.clear();
    ASSERT_TRUE(file->writeAt(0, "more"));
    ASSERT_TRUE(file->synchronize());
    EXPECT_TRUE(wereCalled({{Kind::synchronize, deep / "c/file"}}));

    fault = [](const SystemCall& call) { return call.kind == Kind::synchronize ? EIO : 0; };
    EXPECT_FALSE(files.makeDurable(deep / "c/file"));
    EXPECT_FALSE(file->synchronize());
}

// Few are synced one by one, and their folder once; many with their volume, unless that fails.
TEST_F(Durability, filesThatAreMadeDurableTogetherAreAllOnTheDisk) {
    const auto count = [this](Kind kind, const Path& path) {
        return std::ranges::count_if(recorder.calls,
                                     [&](const SystemCall& call) { return isThat(call, {kind, path}); });
    };
    std::vector<Path> paths;
    for (const char* name : {"a", "b", "c"}) paths.push_back(here / name);
    for (const Path& path : paths) ASSERT_TRUE(files.appendToFile(path, "bytes"));
    for (const Result<void>& outcome : files.makeAllDurable(paths)) EXPECT_TRUE(outcome);
    for (const Path& path : paths) EXPECT_EQ(count(Kind::synchronize, path), 1) << path;
    EXPECT_EQ(count(Kind::synchronize, here), 1);

    for (int i = 0; i < 20; ++i) paths.push_back(here / std::to_string(i));
    for (const Path& path : paths) ASSERT_TRUE(files.appendToFile(path, "more"));
    recorder.calls.clear();
    for (const Result<void>& outcome : files.makeAllDurable(paths)) EXPECT_TRUE(outcome);
    const bool isTogether = std::ranges::count(recorder.calls, Kind::synchronizeVolume, &SystemCall::kind) == 1;
    for (const Path& path : paths) EXPECT_TRUE(isTogether || count(Kind::synchronize, path) == 1) << path;

    fault = [](const SystemCall& call) {
        return call.kind == Kind::synchronizeVolume || call.kind == Kind::synchronize ? EIO : 0;
    };
    for (const Result<void>& outcome : files.makeAllDurable(paths)) EXPECT_FALSE(outcome);
}

TEST_F(Durability, aDurableFolderHasAllNamesAboveItOnTheDiskWhoeverMadeThem) {
    ASSERT_TRUE(std::filesystem::create_directories(here / "a/b"));  // as an earlier process did
    ASSERT_TRUE(files.makeFolderDurable(here / "a/b"));
    for (const Path& path : {here / "a/b", here / "a", here, here.parent_path()})
        EXPECT_TRUE(wereCalled({{Kind::synchronize, path}})) << path;
    fault = [](const SystemCall& call) { return call.kind == Kind::synchronize ? EIO : 0; };
    EXPECT_FALSE(files.makeFolderDurable(here / "a/b"));
}

TEST_F(Durability, aFileIsReplacedByBytesThatAreOnTheDisk) {
    const Path file = here / "new/file";
    ASSERT_TRUE(files.createDirectories(here / "new"));
    ASSERT_TRUE(files.writeFileAtomically(file, "old"));
    EXPECT_TRUE(wereCalled({{Kind::synchronize, file}, {Kind::giveName, file}, {Kind::synchronize, here / "new"}}));
    EXPECT_TRUE(wereCalled({{Kind::giveName, file}, {Kind::synchronize, here}}));

    fault = [](const SystemCall& call) { return call.kind == Kind::synchronize ? EIO : 0; };
    EXPECT_FALSE(files.writeFileAtomically(file, "new"));
    EXPECT_EQ(content(file), "old");
}

TEST_F(Durability, aMoveToAnotherVolumeCostsTheOriginalLast) {
    const Path target = elsewhere / "new/file";
    ASSERT_TRUE(files.createDirectories(elsewhere / "new"));
    for (const bool isReplaced : {false, true}) {
        const Path from = put(isReplaced ? "new" : "old");
        ASSERT_TRUE(isReplaced ? files.replaceItem(from, target, {}) : files.moveItem(from, target, {}));
        EXPECT_TRUE(wereCalled({{Kind::synchronize, target},
                                {Kind::giveName, target},
                                {Kind::synchronize, elsewhere / "new"},
                                {Kind::removeName, from}}));
        // The new folder's name is on the disk since the first move.
        EXPECT_EQ(wereCalled({{Kind::synchronize, elsewhere}, {Kind::removeName, from}}), !isReplaced);
        EXPECT_EQ(content(target), isReplaced ? "new" : "old");
    }
}

TEST_F(Durability, aFolderMakesWayForAFileThatIsOnItsVolume) {
    const Path target = elsewhere / "name";
    ASSERT_TRUE(files.createDirectories(target / "below"));
    const Path from = put("new");
    ASSERT_TRUE(files.replaceItem(from, target, {}));
    EXPECT_TRUE(wereCalled({{Kind::synchronize, target},
                            {Kind::giveName, replacedPath(target, 1, 255)},
                            {Kind::giveName, target},
                            {Kind::synchronize, elsewhere},
                            {Kind::removeName, from}}));
}

// Whichever call fails: the old entry is there, if only aside, and the new bytes have a name.
TEST_F(Durability, aMoveThatFailsHalfwayLosesNothing) {
    const Path target = elsewhere / "target";
    for (const bool isFolder : {false, true}) {
        bool hasFailed = true;
        for (int failing = 0; hasFailed; ++failing) {
            SCOPED_TRACE(std::to_string(failing) + (isFolder ? " over a folder" : " over a file"));
            const Path old = isFolder ? target / "old" : target;
            ASSERT_TRUE(files.createDirectories(old.parent_path()));
            ASSERT_TRUE(files.writeFileAtomically(old, "old"));
            const Path from = put("new");
            int count = 0;
            fault = [&](const SystemCall& call) {
                return call.kind != Kind::removeName && count++ == failing ? EIO : 0;
            };
            const Result<void> moved = files.replaceItem(from, target, {});
            fault = [](const SystemCall&) { return 0; };
            hasFailed = count > failing;
            EXPECT_EQ(moved.has_value(), content(target) == "new");
            const Path aside = replacedPath(target, 1, 255);
            if (isFolder) EXPECT_TRUE(content(old) == "old" || content(aside / "old") == "old");
            if (!isFolder && !moved) EXPECT_EQ(content(target), "old");
            EXPECT_TRUE(content(from) == "new" ||
                        wereCalled({{Kind::synchronize, target}, {Kind::synchronize, elsewhere}}));
            std::filesystem::remove_all(elsewhere);
            ASSERT_TRUE(files.createDirectories(elsewhere));
        }
    }
}

TEST_F(Durability, aStopEndsACopyWithinItsNextStep) {
    constexpr std::size_t size = std::size_t{40} << 20U;
    enum class Way { inTheKernel, throughMemory, atTheEnd };
    for (const Way way : {Way::inTheKernel, Way::throughMemory, Way::atTheEnd}) {
        SCOPED_TRACE(static_cast<int>(way));
        const Path from = put(std::string(size, 'x'));
        std::stop_source stop;
        int writes = 0;
        fault = [&](const SystemCall& call) {
            if (call.kind == Kind::writeBytes && writes++ == 0 && way == Way::throughMemory) return EXDEV;
            const bool isTime = way == Way::atTheEnd ? call.kind == Kind::synchronize : call.kind == Kind::writeBytes;
            if (isTime) stop.request_stop();
            return 0;
        };
        const Result<void> moved = files.moveItem(from, elsewhere / "file", stop.get_token());
        fault = [](const SystemCall&) { return 0; };
        ASSERT_FALSE(moved);
        EXPECT_TRUE(moved.error().isCancellation());
        if (way != Way::atTheEnd) EXPECT_LE(writes, 2);
        EXPECT_EQ(files.fileSize(from), static_cast<ByteCount>(size));
        EXPECT_TRUE(std::filesystem::is_empty(elsewhere));
    }
}

}  // namespace
}  // namespace tovri::test
