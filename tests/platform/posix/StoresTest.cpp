#include <array>
#include <csignal>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/folders/XDGFolders.h"
#include "platform/posix/process/DataFolderLock.h"
#include "platform/posix/process/LeftUploads.h"
#include "platform/posix/stores/EnvironmentCredentialStore.h"
#include "platform/posix/stores/FileCredentialStore.h"
#include "platform/posix/stores/FileUserDefaults.h"
#include "support/ComesTrue.h"
#include "support/MemoryStores.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using Path = std::filesystem::path;
using testing::ElementsAre;
using testing::HasSubstr;

class StoresTest : public testing::Test {
public:
    void put(const Path& path, const std::string& text) { std::ofstream(path) << text; }

    std::string content(const Path& path) { return files.readFile(path).value_or("<none>"); }

    static mode_t modeOf(const Path& path) {
        struct stat status{};
        ::stat(path.c_str(), &status);
        return status.st_mode & 0777U;
    }

    PosixFileManager files;
    RecordingLog log;
    TemporaryFolder folder;
    Path here = folder.path;
};

TEST_F(StoresTest, preferencesOfOthersStay) {
    const Path file = here / "preferences.json";
    put(file, R"({"later": {"list": [1, 2.5, null]}, "maxConcurrentDownloads": 4, "big": 1.0})");
    FileUserDefaults defaults(files, log, file);
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 4);
    EXPECT_EQ(defaults.integer("big"), std::nullopt);

    FileUserDefaults otherProcess(files, log, file);
    otherProcess.setString("conflictBehavior", "skip");
    defaults.setBoolean("deleteAfterDownload", true);
    EXPECT_EQ(content(file), R"({
  "big": 1.0,
  "conflictBehavior": "skip",
  "deleteAfterDownload": true,
  "later": {"list":[1,2.5,null]},
  "maxConcurrentDownloads": 4
}
)");
    EXPECT_THAT(log.lines, ElementsAre());
}

TEST_F(StoresTest, damagedPreferencesAreReportedAndKept) {
    const Path file = here / "preferences.json";
    for (const char* damaged : {"{\"conflictBehavior\": \"sk", "[]", ""}) {
        put(file, damaged);
        log.lines.clear();
        FileUserDefaults defaults(files, log, file);
        EXPECT_THAT(log.lines, ElementsAre("[Preferences] Ignoring unreadable preferences at " + file.string()));
        EXPECT_EQ(content(file), damaged);
        defaults.setInteger("maxConcurrentDownloads", 2);
        EXPECT_EQ(FileUserDefaults(files, log, file).integer("maxConcurrentDownloads"), 2);
    }
    EXPECT_EQ(content(here / "preferences.json.unreadable-1"), "{\"conflictBehavior\": \"sk");
    EXPECT_EQ(content(here / "preferences.json.unreadable-3"), "");
}

TEST_F(StoresTest, preferencesThatCannotBeWrittenLastForTheProcess) {
    put(here / "file", "");
    FileUserDefaults defaults(files, log, here / "file" / "preferences.json");
    defaults.setInteger("maxConcurrentDownloads", 7);
    defaults.setString("conflictBehavior", "ask");
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 7);
    std::filesystem::remove(here / "file");
    defaults.setBoolean("deleteAfterDownload", true);
    EXPECT_EQ(FileUserDefaults(files, log, here / "file" / "preferences.json").integer("maxConcurrentDownloads"), 7);
}

TEST_F(StoresTest, secretsAreForTheOwnerAlone) {
    const Path file = here / "state/Tovri/credentials.json";
    FileCredentialStore store(files, file);
    store.save("accessToken", "TOKEN");
    EXPECT_EQ(modeOf(file), 0600U);
    EXPECT_EQ(modeOf(here / "state"), 0700U);
    EXPECT_EQ(modeOf(here / "state/Tovri"), 0700U);

    std::filesystem::permissions(file, std::filesystem::perms(0644));
    EXPECT_EQ(store.load("accessToken"), "TOKEN");
    EXPECT_EQ(modeOf(file), 0600U);

    std::filesystem::rename(file, here / "elsewhere");
    std::filesystem::create_symlink(here / "elsewhere", file);
    EXPECT_EQ(store.load("accessToken"), std::nullopt);
}

TEST_F(StoresTest, tokenOfTheEnvironmentIsUsedButNeverKept) {
    MemoryCredentialStore stored;
    stored.save("accessToken", "stored");
    EnvironmentCredentialStore store(stored, "environment");
    EXPECT_EQ(store.load("accessToken"), "environment");
    store.save("accessToken", "environment");
    store.save("clientID", "123");
    EXPECT_EQ(stored.load("accessToken"), "stored");
    EXPECT_EQ(stored.load("clientID"), "123");

    store.remove("accessToken");
    EXPECT_EQ(store.load("accessToken"), std::nullopt);
    EXPECT_EQ(stored.load("accessToken"), "stored");
    store.save("accessToken", "new");
    EXPECT_EQ(store.load("accessToken"), "new");
    store.remove("accessToken");
    EXPECT_EQ(stored.load("accessToken"), std::nullopt);

    stored.save("accessToken", "stored");
    EXPECT_EQ(EnvironmentCredentialStore(stored, "").load("accessToken"), "stored");
}

TEST_F(StoresTest, dataFolderHasOneOwnerUntilItDies) {
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    const Path data = here / "data/Tovri";
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(static_cast<unsigned>(patience.count()));  // it never outlives a test that fails
        const auto lock = DataFolderLock::acquire(data, "tovri-cli");
        static_cast<void>(::write(ready[1], lock ? "y" : "n", 1));
        while (true) ::pause();
    }
    ::close(ready[1]);
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    const auto second = DataFolderLock::acquire(data, "tovri");
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ASSERT_FALSE(second);
    EXPECT_THAT(second.error().description, HasSubstr("tovri-cli (process " + std::to_string(child) + ")"));

    {
        const auto lock = DataFolderLock::acquire(data, "tovri");
        EXPECT_TRUE(lock);
        EXPECT_FALSE(DataFolderLock::acquire(data, "tovri"));
    }
    EXPECT_TRUE(DataFolderLock::acquire(data, "tovri"));
    EXPECT_EQ(modeOf(here / "data"), 0700U);
}

TEST_F(StoresTest, ownFoldersAreClosedToOthers) {
    const Path folder = here / "data/Tovri";
    const mode_t before = ::umask(0);
    EXPECT_TRUE(createPrivateFolder(folder));
    ::umask(before);
    EXPECT_EQ(modeOf(folder), 0700U);
    for (const unsigned mode : {0777U, 0755U, 0500U}) {
        ASSERT_EQ(::chmod(folder.c_str(), mode), 0);
        EXPECT_TRUE(createPrivateFolder(folder));
        EXPECT_EQ(modeOf(folder), 0700U);
    }
    if (::geteuid() != 0) return;  // only root can give a folder to somebody else
    ASSERT_EQ(::chown(folder.c_str(), 65534, 65534), 0);
    const Result<void> foreign = createPrivateFolder(folder);
    ASSERT_FALSE(foreign);
    EXPECT_THAT(foreign.error().description, HasSubstr("belongs to another user"));
    EXPECT_FALSE(DataFolderLock::acquire(folder, "tovri"));
}

// Whether a process is alive cannot be told by its number where two containers share the folder.
TEST_F(StoresTest, whatAKilledUploadLeftIsRemovedAndWhatIsHeldStays) {
    const auto make = [&](const std::string& name) { std::ofstream(here / name) << "bytes"; };
    const std::string left = uploadPrefixOf(::getpid()) + "UUID";
    const Path held = here / (uploadPrefixOf(99'999'999) + "UUID");
    const std::vector<std::string> others = {"tovri-upload-x-UUID", "other", "tovri-upload-1"};
    make(left);
    for (const std::string& name : others) make(name);
    std::filesystem::create_directory(here / (uploadPrefixOf(1) + "folder"));
    PosixFileManager files;
    {
        const auto upload = files.createFile(held);
        ASSERT_TRUE(upload);
        removeLeftUploads(here);
        EXPECT_TRUE(std::filesystem::exists(held));
    }
    EXPECT_FALSE(std::filesystem::exists(here / left));
    removeLeftUploads(here);
    EXPECT_FALSE(std::filesystem::exists(held));
    for (const std::string& name : others) EXPECT_TRUE(std::filesystem::exists(here / name)) << name;
    EXPECT_TRUE(std::filesystem::exists(here / (uploadPrefixOf(1) + "folder")));
}

TEST_F(StoresTest, foldersFollowTheEnvironment) {
    ::setenv("HOME", "/home/someone", 1);
    ::setenv("XDG_DATA_HOME", "/elsewhere/data", 1);
    ::setenv("XDG_CONFIG_HOME", "relative", 1);
    ::setenv("XDG_STATE_HOME", "", 1);
    ::unsetenv("TMPDIR");
    const XDGFolders folders = XDGFolders::fromEnvironment();
    EXPECT_EQ(folders.standard.home, "/home/someone");
    EXPECT_EQ(folders.standard.applicationData, "/elsewhere/data/Tovri");
    EXPECT_EQ(folders.configuration, "/home/someone/.config/Tovri");
    EXPECT_EQ(folders.state, "/home/someone/.local/state/Tovri");
    EXPECT_EQ(folders.standard.temporary, "/tmp");
}

TEST_F(StoresTest, bookmarksAreMadeOfFoldersAndResolveToThem) {
    PathFolderAccess access;
    const Path chosen = here / "caf\xE9";
    std::filesystem::create_directory(chosen);
    const auto bookmark = access.makeBookmark(chosen);
    ASSERT_TRUE(bookmark);
    EXPECT_EQ(access.resolve(*bookmark)->folder, chosen);
    std::filesystem::remove(chosen);
    EXPECT_EQ(access.resolve(*bookmark)->folder, chosen);
    EXPECT_FALSE(access.resolve(""));
    EXPECT_FALSE(access.makeBookmark(chosen));
}

}  // namespace
}  // namespace tovri::test
