#include <algorithm>
#include <chrono>

#include "base/ByteCountFormat.h"
#include "downloads/PutIODownloadService.h"
#include "screens/files/FileBrowserFixture.h"
#include "screens/files/FileBrowserScreen.h"
#include "support/FakeWorkspace.h"
#include "support/SimulatedTransferSession.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class FileBrowserScreenTest : public FileBrowserFixture {
public:
    FileBrowserScreenTest() {
        downloads.configure(service, preferences);
        downloads.pauseAll();  // what is queued stays to be looked at
        folders[0] = {folder(1, "Films"), folder(2, "Music"), file(3, "a.mkv", 1'200'000), file(4, "b.txt", 10)};
        folders[1] = {file(11, "one"), folder(12, "Extras")};
        folders[12] = {file(13, "two")};
    }

    void show() {
        screen.appear();
        settle();
    }

    // "upload.txt^ Films/ a.mkv"
    [[nodiscard]] std::string rows() const {
        std::string text;
        for (std::size_t i = 0; i < screen.rowCount(); ++i) {
            const FileRow row = screen.row(i);
            text += (i == 0 ? "" : " ") + row.name + (row.kind == FileRow::Kind::folder ? "/" : "");
            if (row.kind == FileRow::Kind::upload) text += "^";
        }
        return text;
    }

    // "Open | Download Folder | - | ..."
    [[nodiscard]] std::string menu(const FileIDs& files) const {
        std::string text;
        for (const auto& item : screen.menu(files)) {
            if (!text.empty()) text += " | ";
            text += item.isSeparator() ? "-" : item.title;
        }
        return text;
    }

    // "a.mkv -> /home/user/Downloads, then deleted", from the top of the queue.
    [[nodiscard]] std::vector<std::string> queue() const {
        std::vector<std::string> items;
        for (const ConstDownloadPointer& item : downloads.downloads().items()) {
            std::string text = item->fileName + " -> " + item->destinationFolder->native();
            if (item->deleteAfterDownload) text += ", then deleted";
            if (item->folderDeleteID) text += ", then folder " + item->folderDeleteID->text();
            items.push_back(text);
        }
        return items;
    }

    [[nodiscard]] std::string failureText() const {
        return screen.dialogs().failure() ? screen.dialogs().failure()->message : "";
    }

    [[nodiscard]] const HTTPRequest& lastRequestTo(std::string_view end) const {
        const auto isThere = [&](const HTTPRequest& request) { return request.url.ends_with(end); };
        return *std::ranges::find_if(http.requests.rbegin(), http.requests.rend(), isThere);
    }

    MemoryUserDefaults defaults;
    Preferences preferences{defaults, folderAccess, "/home/user"};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    PutIODownloadService service{api};
    DownloadManager downloads{downloadPorts(platform, transfers)};
    FakeWorkspace workspace;
    Notices notices{loop};
    bool showsDownloads = false;
    FileBrowserScreen screen{{state, api, downloads, preferences, workspace, collation, random, notices,
                              [this] { showsDownloads = true; }, platform.clock}};
};

// --- What is seen ---

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

// --- What the user does ---

TEST_F(FileBrowserScreenTest, downloadsFilesWhereThePreferencesSay) {
    show();
    screen.perform(FileToolbarAction::download);
    screen.select({FileID(1), FileID(2)});
    screen.perform(FileToolbarAction::download);
    EXPECT_TRUE(queue().empty());

    screen.select({FileID(1), FileID(3), FileID(4)});
    screen.perform(FileToolbarAction::download);
    EXPECT_EQ(queue(), (std::vector<std::string>{"b.txt -> /home/user/Downloads", "a.mkv -> /home/user/Downloads"}));
    const auto batchAt = [this](std::size_t index) { return downloads.downloads().items()[index]->batchID; };
    EXPECT_TRUE(batchAt(0) && batchAt(0) == batchAt(1));  // they were queued together
    screen.perform(FileMenuAction::downloadAndDelete, {FileID(3)});
    EXPECT_EQ(queue().front(), "a.mkv -> /home/user/Downloads, then deleted");
    EXPECT_FALSE(batchAt(0));

    preferences.setDeleteAfterDownload(true);
    preferences.setDownloadFolder("/home/user/Videos");
    screen.activate({FileID(3)});
    EXPECT_EQ(queue().front(), "a.mkv -> /home/user/Videos, then deleted");
}

TEST_F(FileBrowserScreenTest, downloadsAFolderUnderItsName) {
    show();
    screen.perform(FileMenuAction::downloadFolder, {FileID(1)});
    settle();
    EXPECT_EQ(queue(), (std::vector<std::string>{"two -> /home/user/Downloads/Films/Extras",
                                                 "one -> /home/user/Downloads/Films"}));
    downloads.cancelAll();
    downloads.clearFinished();
    screen.perform(FileMenuAction::downloadFolderAndDelete, {FileID(12)});
    EXPECT_TRUE(queue().empty());  // not in the folder on view
    screen.perform(FileMenuAction::downloadFolderAndDelete, {FileID(1)});
    settle();
    EXPECT_EQ(queue().front(), "two -> /home/user/Downloads/Films/Extras, then folder 1");
    const ItemOrder& items = downloads.downloads().items();
    const std::optional<UUID> batch = items[0]->batchID;
    EXPECT_TRUE(batch && batch == items[1]->batchID);

    preferences.setDeleteAfterDownload(true);
    screen.perform(FileMenuAction::downloadFolder, {FileID(1)});
    settle();
    EXPECT_EQ(queue().front(), "two -> /home/user/Downloads/Films/Extras, then folder 1");
    EXPECT_EQ(queue().size(), 4U);
    EXPECT_NE(items[0]->batchID, batch);
}

TEST_F(FileBrowserScreenTest, saysWhereOnlyTheBeginningOfAFolderIsToBeHad) {
    statuses["/continue"] = 400;
    pageSize = 1;
    show();
    const std::string text = "put.io listed only the beginning of this folder. HTTP error 400 from put.io.";
    EXPECT_EQ(screen.banner().value().text, text);
    screen.perform(FileMenuAction::downloadFolderAndDelete, {FileID(1)});
    loop.advance(std::chrono::seconds(1));
    EXPECT_TRUE(queue().empty());
    notices.withdrawAnswer();
    ASSERT_NE(notices.shown(), nullptr);
    EXPECT_EQ(notices.shown()->text, "put.io listed only the beginning of a folder. HTTP error 400 from put.io.");
    screen.dismissBanner();
    EXPECT_FALSE(screen.banner());
}

TEST_F(FileBrowserScreenTest, deletesOnlyWhenTheUserSaysSo) {
    show();
    screen.select({FileID(3), FileID(4)});
    screen.deleteSelection();
    ASSERT_TRUE(screen.dialogs().pendingAction());
    EXPECT_EQ(screen.dialogs().pendingAction()->title, "Delete 2 items?");
    screen.dialogs().cancel();
    EXPECT_FALSE(screen.dialogs().pendingAction());
    screen.perform(FileMenuAction::remove, {FileID(99)});
    EXPECT_FALSE(screen.dialogs().pendingAction());

    statuses["/files/delete"] = 500;
    screen.perform(FileMenuAction::remove, {FileID(4), FileID(1)});
    screen.dialogs().confirm();
    EXPECT_FALSE(screen.dialogs().pendingAction());
    const auto requests = http.requests.size();
    settle();
    EXPECT_EQ(failureText(), "HTTP error 500 from put.io.");
    EXPECT_EQ(http.requests.size(), requests);
    EXPECT_EQ(screen.selection(), (FileIDs{FileID(3), FileID(4)}));
    screen.dialogs().dismissFailure();

    statuses.clear();
    screen.perform(FileMenuAction::remove, {FileID(4)});
    const DestructiveAction& asked = *screen.dialogs().pendingAction();
    EXPECT_EQ(asked.title, "Delete “b.txt”?");
    EXPECT_EQ(asked.message, "This permanently removes it from your put.io account and can't be undone.");
    EXPECT_EQ(asked.confirmLabel, "Delete from put.io");
    folders[0].pop_back();
    screen.dialogs().confirm();
    settle();
    EXPECT_EQ(lastRequestTo("/files/delete").body, "file_ids=4");
    EXPECT_EQ(screen.selection(), FileIDs{FileID(3)});
    EXPECT_EQ(rows(), "Films/ Music/ a.mkv");
    EXPECT_EQ(failureText(), "");
}

TEST_F(FileBrowserScreenTest, movesWhatIsDroppedOnAFolder) {
    show();
    const std::string dragged = screen.dragPayload({FileID(3), FileID(4)});
    EXPECT_EQ(screen.dragPayload({FileID(3)}), R"({"fileID":3,"fileName":"a.mkv"})");
    EXPECT_TRUE(screen.acceptsDrop(0, dragged));
    EXPECT_FALSE(screen.acceptsDrop(2, dragged));                                     // a file
    EXPECT_FALSE(screen.acceptsDrop(9, dragged));                                     // below the rows
    EXPECT_FALSE(screen.acceptsDrop(0, screen.dragPayload({FileID(1), FileID(3)})));  // into itself
    for (const char* foreign : {"", "{", R"({"fileID":3})", R"({"fileID":3,"fileName":"a","more":1})",
                                R"({"fileID":"3","fileName":"a"})", "{\"fileID\":3,\"fileName\":\"a\"}\n[]"})
        EXPECT_FALSE(screen.acceptsDrop(0, foreign)) << foreign;

    const auto requests = http.requests.size();
    screen.drop(2, dragged);
    settle();
    EXPECT_EQ(http.requests.size(), requests);

    screen.drop(1, dragged);
    settle();
    EXPECT_EQ(lastRequestTo("/files/move").body, "file_ids=3,4&parent_id=2");
    EXPECT_EQ(http.requests.size(), requests + 2);  // and the listing

    statuses["/files/move"] = 403;
    screen.drop(1, dragged);
    settle();
    EXPECT_EQ(failureText(), "HTTP error 403 from put.io.");
    EXPECT_EQ(http.requests.size(), requests + 4);
}

TEST_F(FileBrowserScreenTest, aFailedUploadStaysInItsFolderUntilItIsTriedAgainOrDismissed) {
    load();
    statuses["/upload"] = 500;
    screen.upload({"/home/user/a.txt", "/home/user/b.txt"});
    settle();
    ASSERT_EQ(screen.row(0).kind, FileRow::Kind::upload);
    EXPECT_EQ(screen.row(0).caption, "Not uploaded");
    EXPECT_EQ(screen.row(0).detail, "HTTP error 500 from put.io.");

    screen.perform(FileRowAction::dismissUpload, 1);
    statuses.clear();
    const std::size_t before = requestsTo("/upload");
    screen.perform(FileRowAction::retryUpload, 0);
    settle();
    EXPECT_EQ(requestsTo("/upload"), before + 1);
    EXPECT_TRUE(state.uploads().failed().empty());
}

TEST_F(FileBrowserScreenTest, tellsHowMuchOfAnUploadIsSent) {
    load();
    const std::string content(1000, '.');
    files.put("/home/user/a.txt", content);
    http.latency = 10s;
    screen.upload({"/home/user/a.txt"});
    EXPECT_TRUE(loop.runUntil([&] { return requestsTo("/upload") == 1; }, 1ms));
    const auto tell = http.requests.back().onBodySent;
    ASSERT_TRUE(tell);
    const ByteCount body = *files.fileSize(http.requests.back().bodyFile);
    tell(body, body);  // what frames the file is not counted
    loop.advance(200ms);
    EXPECT_EQ(screen.row(0).caption, "Uploading...");
    EXPECT_EQ(screen.row(0).detail, formatByteCount(1000) + " of " + formatByteCount(1000));
}

TEST_F(FileBrowserScreenTest, uploadsIntoTheRowOrTheFolderOnView) {
    show();
    const std::vector<std::filesystem::path> dropped{"/home/user/a.txt"};
    screen.upload(dropped, 1);
    screen.upload(dropped, 3);  // a file's row
    screen.upload(dropped);
    std::vector<FolderID> targets;
    for (const PendingUpload& upload : state.pendingUploads()) targets.push_back(upload.folderID);
    EXPECT_EQ(targets, (std::vector{FolderID(2), rootFolderID, rootFolderID}));
    statuses["/upload"] = 500;
    settle();
    EXPECT_EQ(failureText(), "Couldn't upload “a.txt”: HTTP error 500 from put.io.");
    screen.disappear();
    EXPECT_EQ(failureText(), "");
}

TEST_F(FileBrowserScreenTest, reachesOutToTheDesktop) {
    folders[0][2].parentID = FolderID(8);
    show();
    workspace.clipboard = "before";
    screen.perform(FileMenuAction::copyDownloadLink, {FileID(3)});
    settle();
    EXPECT_EQ(workspace.clipboard, "https://storage.put.io/1");
    statuses["/files/3/url"] = 404;
    screen.perform(FileMenuAction::copyDownloadLink, {FileID(3)});
    settle();
    EXPECT_EQ(failureText(), "HTTP error 404 from put.io.");
    EXPECT_EQ(workspace.clipboard, "https://storage.put.io/1");

    screen.perform(FileMenuAction::openInPutIO, {FileID(1)});
    screen.perform(FileMenuAction::openInPutIO, {FileID(3)});
    screen.perform(FileMenuAction::openInPutIO, {FileID(4)});
    EXPECT_EQ(workspace.openedAddresses,
              (std::vector<std::string>{"https://app.put.io/files/1", "https://app.put.io/files/8?selected=3",
                                        "https://app.put.io/files/0?selected=4"}));
}

}  // namespace
}  // namespace tovri::test
