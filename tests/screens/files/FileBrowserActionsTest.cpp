// What the user does.
#include <chrono>

#include "base/ByteCountFormat.h"
#include "screens/files/FileBrowserScreenFixture.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

using FileBrowserActionsTest = FileBrowserScreenTest;

TEST_F(FileBrowserActionsTest, downloadsFilesWhereThePreferencesSay) {
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

TEST_F(FileBrowserActionsTest, downloadsAFolderUnderItsName) {
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

TEST_F(FileBrowserActionsTest, saysWhereOnlyTheBeginningOfAFolderIsToBeHad) {
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

TEST_F(FileBrowserActionsTest, deletesOnlyWhenTheUserSaysSo) {
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

TEST_F(FileBrowserActionsTest, movesWhatIsDroppedOnAFolder) {
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

TEST_F(FileBrowserActionsTest, aFailedUploadStaysInItsFolderUntilItIsTriedAgainOrDismissed) {
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

TEST_F(FileBrowserActionsTest, tellsHowMuchOfAnUploadIsSent) {
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

TEST_F(FileBrowserActionsTest, uploadsIntoTheRowOrTheFolderOnView) {
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

TEST_F(FileBrowserActionsTest, reachesOutToTheDesktop) {
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
