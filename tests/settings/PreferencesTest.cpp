#include <vector>

#include <gtest/gtest.h>

#include "settings/Preferences.h"
#include "support/FakeFolderAccess.h"
#include "support/MemoryStores.h"

namespace tovri {
namespace {

class PreferencesTest : public testing::Test {
public:
    [[nodiscard]] Preferences load() { return {defaults, folderAccess, "/home/user"}; }

    test::MemoryUserDefaults defaults;
    test::FakeFolderAccess folderAccess;
};

TEST_F(PreferencesTest, startFromDefaultsAndWriteNone) {
    const Preferences preferences = load();
    EXPECT_EQ(preferences.defaultDownloadPath(), "/home/user/Downloads");
    EXPECT_EQ(preferences.defaultDownloadBookmark(), std::nullopt);
    EXPECT_FALSE(preferences.deleteAfterDownload());
    EXPECT_EQ(preferences.maxConcurrentDownloads(), 3);
    EXPECT_EQ(preferences.syncPollIntervalMinutes(), 5);
    EXPECT_EQ(preferences.conflictBehavior(), ConflictBehavior::keepBoth);
    EXPECT_TRUE(preferences.readLongFolders());
    EXPECT_EQ(preferences.downloadFolderURL(), "/home/user/Downloads");
    EXPECT_EQ(defaults.writes, 0);
}

TEST_F(PreferencesTest, keepEverySettingUnderItsKey) {
    Preferences preferences = load();
    preferences.setDefaultDownloadPath("/media");
    preferences.setDefaultDownloadBookmark(ByteBlob("\0b", 2));
    preferences.setDeleteAfterDownload(true);
    preferences.setMaxConcurrentDownloads(25);  // no upper bound
    preferences.setSyncPollIntervalMinutes(1);
    preferences.setConflictBehavior(ConflictBehavior::skip);
    preferences.setReadLongFolders(false);

    EXPECT_EQ(defaults.string("defaultDownloadPath"), "/media");
    EXPECT_EQ(defaults.data("defaultDownloadBookmark"), ByteBlob("\0b", 2));
    EXPECT_EQ(defaults.boolean("deleteAfterDownload"), true);
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 25);
    EXPECT_EQ(defaults.integer("syncPollIntervalMinutes"), 1);
    EXPECT_EQ(defaults.string("conflictBehavior"), "skip");
    EXPECT_EQ(defaults.boolean("readLongFolders"), false);

    const Preferences again = load();
    EXPECT_EQ(again.defaultDownloadPath(), "/media");
    EXPECT_EQ(again.defaultDownloadBookmark(), ByteBlob("\0b", 2));
    EXPECT_TRUE(again.deleteAfterDownload());
    EXPECT_EQ(again.maxConcurrentDownloads(), 25);
    EXPECT_EQ(again.syncPollIntervalMinutes(), 1);
    EXPECT_EQ(again.conflictBehavior(), ConflictBehavior::skip);
    EXPECT_FALSE(again.readLongFolders());

    preferences.setDefaultDownloadBookmark(std::nullopt);
    EXPECT_EQ(defaults.data("defaultDownloadBookmark"), std::nullopt);
}

TEST_F(PreferencesTest, correctStoredValuesInMemoryOnly) {
    for (const std::int64_t stored : {0, -4}) {
        defaults.setInteger("maxConcurrentDownloads", stored);
        defaults.setInteger("syncPollIntervalMinutes", stored);
        EXPECT_EQ(load().maxConcurrentDownloads(), 3);
        EXPECT_EQ(load().syncPollIntervalMinutes(), 5);
        EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), stored);
    }
    for (const char* stored : {"Ask", "", "keep-both"}) {
        defaults.setString("conflictBehavior", stored);
        EXPECT_EQ(load().conflictBehavior(), ConflictBehavior::keepBoth) << stored;
    }
    Preferences preferences = load();
    preferences.setMaxConcurrentDownloads(0);  // what is assigned is taken as it is
    EXPECT_EQ(preferences.maxConcurrentDownloads(), 0);
}

TEST_F(PreferencesTest, writeEveryAssignmentAndTellOfChangesOnly) {
    Preferences preferences = load();
    std::vector<std::string_view> told;
    const Subscription subscription = preferences.onChange([&](std::string_view key) {
        EXPECT_EQ(defaults.string("conflictBehavior"), "replace");
        told.push_back(key);
    });
    preferences.setConflictBehavior(ConflictBehavior::replace);
    preferences.setConflictBehavior(ConflictBehavior::replace);
    EXPECT_EQ(defaults.writes, 2);
    EXPECT_EQ(told, std::vector<std::string_view>{"conflictBehavior"});
}

TEST_F(PreferencesTest, followTheBookmarkOfTheChosenFolder) {
    Preferences preferences = load();
    preferences.setDownloadFolder("/media/films/");
    EXPECT_EQ(preferences.defaultDownloadPath(), "/media/films");
    ASSERT_EQ(folderAccess.bookmarks.size(), 1U);
    folderAccess.bookmarks.begin()->second.folder = "/media/moved";
    EXPECT_EQ(preferences.downloadFolderURL(), "/media/moved");

    folderAccess.bookmarks.clear();  // the folder was deleted
    EXPECT_EQ(preferences.downloadFolderURL(), "/media/films");

    folderAccess.refusesBookmarks = true;
    preferences.setDownloadFolder("/media/music");
    EXPECT_EQ(defaults.data("defaultDownloadBookmark"), std::nullopt);
    EXPECT_EQ(defaults.string("defaultDownloadPath"), "/media/music");
    EXPECT_EQ(preferences.downloadFolderURL(), "/media/music");
}

TEST_F(PreferencesTest, renewAStaleBookmarkOnly) {
    Preferences preferences = load();
    preferences.refreshDownloadFolderBookmark();
    EXPECT_EQ(defaults.writes, 0);  // none to renew

    preferences.setDownloadFolder("/media/films");
    const ByteBlob first = *preferences.defaultDownloadBookmark();
    const int writes = defaults.writes;
    preferences.refreshDownloadFolderBookmark();
    EXPECT_EQ(defaults.writes, writes);

    folderAccess.bookmarks[first] = {"/media/moved", true};
    folderAccess.refusesBookmarks = true;
    preferences.refreshDownloadFolderBookmark();
    EXPECT_EQ(preferences.defaultDownloadBookmark(), first);
    EXPECT_EQ(defaults.writes, writes);

    folderAccess.refusesBookmarks = false;
    folderAccess.starts = 0;
    preferences.refreshDownloadFolderBookmark();
    EXPECT_NE(preferences.defaultDownloadBookmark(), first);
    EXPECT_EQ(preferences.defaultDownloadPath(), "/media/moved");
    EXPECT_EQ(folderAccess.starts, 1);
    EXPECT_TRUE(folderAccess.open.empty());
}

TEST(ConflictBehavior, isWordedAsTheUserChooses) {
    struct Case {
        ConflictBehavior behavior;
        const char* raw;
        const char* name;
        const char* explanation;
    };

    const Case cases[] = {
        {ConflictBehavior::ask, "ask", "Ask every time", "Show a dialog for each conflict."},
        {ConflictBehavior::keepBoth, "keepBoth", "Keep both", "Save alongside as \"Filename (1)\"."},
        {ConflictBehavior::replace, "replace", "Replace", "Overwrite the existing file."},
        {ConflictBehavior::skip, "skip", "Skip", "Discard the download and keep the existing file."},
    };
    std::size_t place = 0;
    for (const Case& c : cases) {
        EXPECT_EQ(conflictBehaviors[place++], c.behavior);
        EXPECT_EQ(rawValue(c.behavior), c.raw);
        EXPECT_EQ(conflictBehaviorOf(c.raw), c.behavior);
        EXPECT_EQ(displayName(c.behavior), c.name);
        EXPECT_EQ(explanation(c.behavior), c.explanation);
    }
}

}  // namespace
}  // namespace tovri
