// What is seen.
#include <chrono>

#include "screens/files/FileBrowserScreenFixture.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

TEST_F(FileBrowserScreenTest, showsAPlaceholderWhereThereAreNoRows) {
    const auto text = [this] {
        const auto placeholder = screen.placeholder();
        return placeholder ? placeholder->title + ": " + placeholder->text + " [" + placeholder->button + "]" : "none";
    };
    folders[0].clear();
    screen.appear();
    EXPECT_EQ(text(), ": Loading files... []");
    settle();
    EXPECT_EQ(text(), "Empty Folder: This folder has no files. []");
    EXPECT_EQ(screen.placeholder()->symbol, "folder");

    statuses["parent_id=0"] = 500;
    load();
    EXPECT_EQ(text(), "Error: HTTP error 500 from put.io. [Retry]");
    statuses.clear();
    folders[0] = {file(3, "a.mkv")};
    screen.openPlaceholder();
    settle();
    EXPECT_EQ(text(), "none");
    load();
    state.loadFiles();
    EXPECT_EQ(text(), "none");  // the old rows stay while they are loaded again

    const auto requests = http.requests.size();
    settle();
    screen.appear();
    EXPECT_EQ(http.requests.size(), requests);
}

TEST_F(FileBrowserScreenTest, wordsItsRows) {
    struct Case {
        PutIOFile file;
        const char* symbol = "";
        const char* caption = "";
    };

    PutIOFile untyped = file(1, "x");
    untyped.fileType.reset();
    PutIOFile full = folder(2, "x");
    full.size = 1'200'000;
    PutIOFile film = file(3, "x", 999);
    film.contentType = "video/mp4";
    const Case cases[] = {{untyped, "doc", "0 bytes · unknown"},
                          {full, "folder.fill", "1.2 MB"},
                          {folder(4, "x"), "folder.fill", "Empty"},
                          {film, "film", "999 bytes · video/mp4"}};
    for (const Case& c : cases) {
        const FileRow row = fileRow(c.file);
        EXPECT_EQ(row.symbol, c.symbol);
        EXPECT_EQ(row.caption, c.caption);
        EXPECT_EQ(row.trailingSymbol, c.file.isFolder() ? "chevron.right" : "");
        EXPECT_EQ(row.tint, c.file.isFolder() ? Tint::accent : Tint::secondary);
    }
}

TEST_F(FileBrowserScreenTest, offersWhatTheSelectionAllows) {
    show();
    EXPECT_EQ(menu({FileID(3)}),
              "Download | Download & Delete from put.io | - | Get Download Link | - | Open in put.io | - | "
              "Delete from put.io");
    EXPECT_EQ(menu({FileID(1)}),
              "Open | Download Folder | Download Folder & Delete from put.io | - | Open in put.io | - | "
              "Delete from put.io");
    EXPECT_EQ(menu({FileID(1), FileID(2)}), "Delete 2 Items from put.io");
    EXPECT_EQ(menu({FileID(1), FileID(3), FileID(4)}),
              "Download 2 Files | Download 2 Files & Delete | - | Delete 3 Items from put.io");
    EXPECT_EQ(menu({}), "");
    EXPECT_EQ(menu({FileID(99)}), "");

    const auto enabled = [this](std::size_t item) { return screen.toolbar()[item].isEnabled; };
    EXPECT_FALSE(enabled(0));
    screen.select({FileID(1)});
    EXPECT_TRUE(enabled(0));
    EXPECT_FALSE(screen.toolbar()[2].isVisible);
    state.uploadFiles({"/home/user/a.txt"}, rootFolderID);
    EXPECT_TRUE(screen.toolbar()[2].isVisible);
    EXPECT_FALSE(enabled(3));
    screen.perform(FileToolbarAction::sortByDate);
    EXPECT_TRUE(screen.toolbar()[1].choices[2].isChosen);
}

TEST_F(FileBrowserScreenTest, tellsWhichRowsCameAndWent) {
    using Kind = ScreenChange::Kind;
    show();
    std::vector<ScreenChange> changes;
    std::size_t followed = screen.rowCount();
    const Subscription watching = screen.onChange([&](const ScreenChange& change) {
        if (change.kind != Kind::chrome) changes.push_back(change);
        if (change.kind == Kind::inserted) followed += change.count;
        if (change.kind == Kind::removed) followed -= change.count;
        if (change.kind == Kind::reset) followed = screen.rowCount();
        EXPECT_EQ(screen.rowCount(), followed);
        for (std::size_t i = 0; i < screen.rowCount(); ++i) (void)screen.row(i);
    });
    http.latency = 10s;
    state.uploadFiles({"/home/user/c.txt"}, rootFolderID);
    state.uploadFiles({"/home/user/b.txt"}, FolderID(2));  // into another folder
    EXPECT_EQ(rows(), "c.txt^ Films/ Music/ a.mkv b.txt");
    EXPECT_EQ(changes, (std::vector<ScreenChange>{{Kind::inserted, 0, 1}}));

    changes.clear();
    folders[0].push_back(file(5, "c.txt"));
    folders[0][3].size = 11;
    folders[0].erase(folders[0].begin());
    loop.advance(1s);
    http.latency = 1s;
    state.loadFiles();
    loop.advance(1s);
    EXPECT_EQ(rows(), "c.txt^ Music/ a.mkv b.txt c.txt");
    EXPECT_EQ(changes,
              (std::vector<ScreenChange>{{Kind::removed, 1, 1}, {Kind::inserted, 4, 1}, {Kind::changed, 3, 1}}));

    changes.clear();
    screen.perform(FileRowAction::cancelUpload, 0);
    EXPECT_EQ(changes, (std::vector<ScreenChange>{{Kind::removed, 0, 1}}));
    EXPECT_EQ(screen.fileAt(0)->id, FileID(2));

    screen.openBreadcrumb(0);
    screen.search("MKV");
    settle();
    EXPECT_EQ(rows(), "a.mkv");
    screen.activate({FileID(1)});
    settle();
    EXPECT_EQ(rows(), "a.mkv");  // no such folder any more
    screen.activate({FileID(2)});
    screen.search("");
    settle();
    EXPECT_EQ(rows(), "");
    EXPECT_EQ(screen.breadcrumbs().back(), (Breadcrumb{FolderID(2), "Music"}));
}

}  // namespace
}  // namespace tovri::test
