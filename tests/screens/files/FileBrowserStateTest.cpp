#include <algorithm>
#include <chrono>

#include "screens/files/FileBrowserFixture.h"
#include "screens/files/FileBrowserState.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using Field = FileBrowserState::Field;

class FileBrowserStateTest : public FileBrowserFixture {
public:
    FileBrowserStateTest() {
        folders[0] = {folder(1, "A"), folder(2, "B")};
        folders[1] = {file(11, "in A")};
        folders[2] = {file(21, "in B")};
    }
};

TEST_F(FileBrowserStateTest, aLateListingOfAnotherFolderIsDropped) {
    http.latency = 5s;
    state.navigateInto(folder(1, "A"));
    http.latency = 1s;
    state.navigateToBreadcrumb(0);
    state.navigateInto(folder(2, "B"));
    loop.advance(2s);
    EXPECT_EQ(displayed(), "in B");
    EXPECT_FALSE(state.isLoading());
    settle();
    EXPECT_EQ(displayed(), "in B");
}

TEST_F(FileBrowserStateTest, theNewestLoadOfAFolderCounts) {
    http.latency = 5s;
    http.actsAtOnce = true;
    state.loadFiles();
    folders[0] = {file(3, "new")};
    http.latency = 1s;
    state.loadFiles();
    settle();
    EXPECT_EQ(displayed(), "new");

    // Until a newer load has ended, the flag is its own.
    http.latency = 1s;
    state.loadFiles();
    http.latency = 5s;
    state.loadFiles();
    loop.advance(2s);
    EXPECT_TRUE(state.isLoading());
    settle();
    EXPECT_FALSE(state.isLoading());
}

TEST_F(FileBrowserStateTest, aFailedLoadKeepsTheOldListing) {
    load();
    statuses["parent_id=0"] = 503;
    load();
    EXPECT_EQ(state.error(), "HTTP error 503 from put.io.");
    EXPECT_EQ(displayed(), "A/ B/");
    EXPECT_TRUE(state.hasLoaded());
    EXPECT_FALSE(state.isLoading());

    state.loadFiles();
    EXPECT_EQ(state.error(), std::nullopt);
    state.navigateInto(folder(1, "A"));  // the failure comes too late
    settle();
    EXPECT_EQ(state.error(), std::nullopt);
    EXPECT_EQ(displayed(), "in A");
}

TEST_F(FileBrowserStateTest, goesBackByBreadcrumbs) {
    state.navigateInto(folder(1, "A"));
    state.navigateInto(folder(2, "B"));
    state.setSelectedFiles({FileID(21)});
    state.setSearchText("x");
    const auto before = http.requests.size();
    state.navigateToBreadcrumb(3);
    EXPECT_EQ(http.requests.size(), before);
    state.navigateToBreadcrumb(2);
    EXPECT_EQ(http.requests.size(), before + 1);
    EXPECT_TRUE(state.selectedFiles().empty());
    EXPECT_EQ(state.searchText(), "x");
    state.navigateToBreadcrumb(0);
    EXPECT_EQ(state.breadcrumbs(), (std::vector<Breadcrumb>{{rootFolderID, "Your Files"}}));
}

TEST_F(FileBrowserStateTest, signingOutDropsWhatIsBeingLoaded) {
    state.setSelectedFiles({FileID(1)});
    load();
    state.loadFiles();
    state.reset();
    settle();
    EXPECT_TRUE(state.files().empty());
    EXPECT_FALSE(state.hasLoaded());
    EXPECT_FALSE(state.isLoading());
    EXPECT_EQ(state.selectedFiles(), FileIDs{FileID(1)});
}

TEST_F(FileBrowserStateTest, tellsEachChangeOnceAndOnlyChanges) {
    std::vector<Field> told;
    bool isConsistent = true;
    const Subscription watching = state.onChange([&](Field field) {
        told.push_back(field);
        if (field == Field::files) isConsistent = state.hasLoaded() && !state.isLoading();
    });
    load();
    EXPECT_EQ(told, (std::vector{Field::isLoading, Field::files, Field::hasLoaded, Field::isLoading}));
    EXPECT_TRUE(isConsistent);
    told.clear();
    load();  // the same listing
    state.setSortOrder(SortOrder::name);
    state.setSearchText("");
    state.setSelectedFiles({});
    EXPECT_EQ(told, (std::vector{Field::isLoading, Field::isLoading}));
}

TEST_F(FileBrowserStateTest, sortsAndSearches) {
    const auto dated = [](PutIOFile file, const char* date) {
        file.createdAt = date;
        return file;
    };
    PutIOFile untyped = dated(file(8, "zero", 0), "2024-01-01T00:00:00");
    untyped.fileType.reset();
    folders[0] = {file(1, "notes"),     dated(file(2, "Movie.mkv", 5), "2024-03-01T00:00:00"),
                  folder(3, "MOVIES"),  dated(file(4, "movie.MKV", 7), "2023-12-31T23:59:59"),
                  folder(5, "Archive"), untyped};
    load();

    struct Case {
        const char* search;
        SortOrder order;
        const char* shown;
    };

    const Case cases[] = {
        {"", SortOrder::name, "Archive/ MOVIES/ Movie.mkv movie.MKV notes zero"},
        {"", SortOrder::size, "MOVIES/ Archive/ movie.MKV Movie.mkv notes zero"},  // unknown counts as 0
        {"", SortOrder::date, "MOVIES/ Archive/ Movie.mkv zero movie.MKV notes"},
        {"mov", SortOrder::name, "MOVIES/ Movie.mkv movie.MKV"},
        {"none", SortOrder::name, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.shown);
        state.setSearchText(c.search);
        state.setSortOrder(c.order);
        EXPECT_EQ(displayed(), c.shown);
    }
    EXPECT_EQ(http.requests.size(), 1U);
}

// --- Long folders ---

TEST_F(FileBrowserStateTest, aLongFolderGrowsToItsEnd) {
    pageSize = 2;
    folders[0] = {file(5, "e"), file(4, "d"), folder(3, "c"), file(2, "b"), file(1, "a")};
    state.loadFiles();
    state.setSelectedFiles({FileID(4)});
    loop.advance(30ms);
    EXPECT_EQ(displayed(), "d e");
    EXPECT_FALSE(state.isLoading());
    loop.advance(20ms);
    EXPECT_EQ(displayed(), "c/ b d e");
    settle();
    EXPECT_EQ(displayed(), "c/ a b d e");
    EXPECT_EQ(state.files().back().name, "a");
    EXPECT_EQ(state.selectedFiles(), FileIDs{FileID(4)});
    EXPECT_EQ(state.cut(), std::nullopt);
}

TEST_F(FileBrowserStateTest, theRestIsDroppedByANewerLoadAndAnotherFolder) {
    pageSize = 1;
    folders[0] = {folder(1, "A"), file(3, "old"), file(4, "older")};
    const auto beginToLoad = [this] {
        state.loadFiles();
        ASSERT_TRUE(loop.runUntil([this] { return !state.isLoading(); }));
    };
    beginToLoad();
    const auto before = requestsTo("/continue");
    state.navigateInto(folder(1, "A"));
    settle();
    EXPECT_EQ(displayed(), "in A");
    EXPECT_EQ(requestsTo("/continue"), before);

    state.navigateToBreadcrumb(0);
    beginToLoad();
    folders[0] = {file(9, "new")};
    statuses["/continue"] = 400;  // of the older load
    state.loadFiles();
    settle();
    EXPECT_EQ(displayed(), "new");
    EXPECT_EQ(state.cut(), std::nullopt);

    statuses.clear();
    folders[0] = {file(9, "new"), file(10, "newer")};
    beginToLoad();
    state.reset();
    settle();
    EXPECT_TRUE(state.files().empty());
}

TEST_F(FileBrowserStateTest, saysThatTheRestCouldNotBeHad) {
    pageSize = 2;
    folders[0] = {file(1, "a"), file(2, "b"), file(3, "c")};
    statuses["/continue"] = 400;
    load();
    EXPECT_EQ(displayed(), "a b");
    EXPECT_EQ(state.error(), std::nullopt);
    EXPECT_EQ(state.cut(), "HTTP error 400 from put.io.");
    state.dismissCut();
    EXPECT_EQ(state.cut(), std::nullopt);
    statuses.clear();
    load();
    EXPECT_EQ(displayed(), "a b c");
}

// --- Uploads ---

TEST_F(FileBrowserStateTest, aBatchOfUploadsRunsAtOnceAndEnds) {
    std::vector<std::pair<std::int64_t, double>> progress;
    const Subscription watching = state.onChange([&](Field field) {
        if (field == Field::pendingUploads) progress.emplace_back(state.uploadTotal(), state.uploadProgress());
    });
    state.uploadFiles({"/home/user/a.txt", "/home/user/b.txt"}, rootFolderID);
    state.uploadFiles({"/home/user/c.txt"}, rootFolderID);
    EXPECT_TRUE(loop.runUntil([&] { return requestsTo("/upload") == 3; }, 1ms));
    EXPECT_TRUE(state.isUploading());
    EXPECT_EQ(state.pendingUploads()[1].name, "b.txt");
    settle();
    EXPECT_EQ(progress,
              (std::vector<std::pair<std::int64_t, double>>{{2, 0}, {3, 0}, {3, 1.0 / 3}, {3, 2.0 / 3}, {0, 0}}));
    EXPECT_FALSE(state.isUploading());

    progress.clear();
    state.uploadFiles({}, rootFolderID);
    EXPECT_FALSE(state.isUploading());
    EXPECT_TRUE(progress.empty());
}

TEST_F(FileBrowserStateTest, aFinishedUploadLoadsItsFolderTwiceWhileItIsShown) {
    state.uploadFiles({"/home/user/a.txt"}, rootFolderID);
    ASSERT_TRUE(loop.runUntil([&] { return !state.isUploading(); }));
    EXPECT_EQ(requestsTo("parent_id=0"), 1U);
    loop.advance(2990ms);
    EXPECT_EQ(requestsTo("parent_id=0"), 1U);
    loop.advance(20ms);
    EXPECT_EQ(requestsTo("parent_id=0"), 2U);

    state.uploadFiles({"/home/user/a.txt"}, rootFolderID);
    ASSERT_TRUE(loop.runUntil([&] { return !state.isUploading(); }));
    state.navigateInto(folder(1, "A"));  // before the second load
    settle();
    EXPECT_EQ(requestsTo("parent_id=0"), 3U);

    state.uploadFiles({"/home/user/a.txt"}, FolderID(2));
    settle();
    EXPECT_EQ(requestsTo("parent_id=2"), 0U);
    EXPECT_EQ(requestsTo("parent_id=1"), 1U);
}

TEST_F(FileBrowserStateTest, aFailedUploadIsToldAndTheOthersGoOn) {
    std::vector<std::string> failures;
    const Subscription watching =
        state.uploads().onFailure([&](std::string text) { failures.push_back(std::move(text)); });
    state.uploadFiles({"/home/user/missing.txt", "/home/user/b.txt"}, rootFolderID);
    settle();
    ASSERT_EQ(failures.size(), 1U);
    EXPECT_TRUE(failures[0].starts_with("Couldn't upload “missing.txt”: ")) << failures[0];
    EXPECT_EQ(requestsTo("/upload"), 1U);
    EXPECT_FALSE(state.isUploading());

    auth.signOut();
    state.uploadFiles({"/home/user/a.txt"}, rootFolderID);  // fails at once
    EXPECT_EQ(failures.back(), "Couldn't upload “a.txt”: Not authenticated. Please sign in again.");
    EXPECT_FALSE(state.isUploading());
}

TEST_F(FileBrowserStateTest, aCancelledUploadEndsAtOnceAndInSilence) {
    bool hasFailed = false;
    const Subscription watching = state.uploads().onFailure([&](const std::string&) { hasFailed = true; });
    http.latency = 10s;
    state.uploadFiles({"/home/user/a.txt"}, rootFolderID);
    loop.advance(1s);  // it is being sent
    state.cancelUpload(state.pendingUploads().front());
    EXPECT_FALSE(state.isUploading());
    EXPECT_EQ(state.uploadTotal(), 0);

    state.uploadFiles({"/home/user/b.txt"}, rootFolderID);  // a new batch, which the end of the old one leaves alone
    loop.advance(1s);
    EXPECT_EQ(state.uploadTotal(), 1);
    EXPECT_EQ(state.pendingUploads().size(), 1U);
    settle();
    EXPECT_FALSE(hasFailed);
    EXPECT_EQ(http.answered, 1 + 2);  // one upload, and the listings after it
    EXPECT_TRUE(files.files("/tmp").empty());
}

TEST_F(FileBrowserStateTest, goesWhileEverythingIsUnderWay) {
    std::optional<FileBrowserState> other(std::in_place, platform.loop, platform.random);
    other->configure(api);
    other->loadFiles();
    other->uploadFiles({"/home/user/a.txt", "/home/user/b.txt"}, rootFolderID);
    loop.advance(30ms);
    other.reset();
    settle();
    EXPECT_TRUE(files.files("/tmp").empty());
}

}  // namespace
}  // namespace tovri::test
