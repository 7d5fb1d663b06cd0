#include <QAbstractItemModelTester>
#include <QFileDialog>
#include <QLineEdit>
#include <QMimeData>
#include <QToolButton>
#include <QUrl>
#include <memory>

#include "FileBrowserViewFixture.h"

namespace tovri::test {
namespace {

class FileBrowserViewTest : public FileBrowserViewFixture {
public:
    // Drags to the middle of a row; whether the row would take it.
    bool dragTo(const QMimeData& data, const QPoint& place) {
        const auto actions = Qt::CopyAction | Qt::MoveAction;
        QDragEnterEvent enter(place, actions, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list().viewport(), &enter);
        QDragMoveEvent move(place, actions, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list().viewport(), &move);
        return move.isAccepted();
    }

    void drop(const QMimeData& data, const QPoint& place) {
        QDropEvent event(place, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(list().viewport(), &event);
    }

    [[nodiscard]] std::unique_ptr<QMimeData> selectedRowsDragged() const {
        return std::unique_ptr<QMimeData>(list().rows()->mimeData(list().selectionModel()->selectedIndexes()));
    }

    static std::unique_ptr<QMimeData> localFiles(const std::vector<const char*>& paths) {
        auto data = std::make_unique<QMimeData>();
        QList<QUrl> addresses;
        for (const char* path : paths) addresses << QUrl::fromLocalFile(path);
        data->setUrls(addresses);
        return data;
    }

    [[nodiscard]] std::string requestBody(std::string_view end) const {
        for (const HTTPRequest& request : http.requests)
            if (request.url.ends_with(end)) return request.body;
        return "no request";
    }

private:
    QAbstractItemModelTester tester_{list().rows()};
};

TEST_F(FileBrowserViewTest, saysWhatItCannotShow) {
    pageSize = 3;
    statuses["/continue"] = 400;
    show();
    EXPECT_EQ(rows(), "Films, Music, a.mkv");
    EXPECT_TRUE(
        seenTexts(view).contains("put.io listed only the beginning of this folder. HTTP error 400 from put.io."));
    statuses.clear();
    QTest::mouseClick(button("Refresh"), Qt::LeftButton);
    settle();
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    EXPECT_FALSE(button("Dismiss"));
}

TEST_F(FileBrowserViewTest, isWalkedThroughByKeyboard) {
    show();
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    EXPECT_EQ(list().rows()->index(2).data(Qt::AccessibleDescriptionRole).toString().toStdString(), "1.2 MB · unknown");
    press(Qt::Key_B);  // type-ahead
    EXPECT_EQ(selectedRows(), "b.txt");
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    settle();
    EXPECT_EQ(rows(), "Extras, one");
    EXPECT_EQ(selectedRows(), "");
    ASSERT_NE(button("Films"), nullptr);
    press(Qt::Key_Home);
    press(Qt::Key_Return);
    settle();
    ASSERT_NE(button("Extras"), nullptr);
    EXPECT_TRUE(list().isHidden() || !list().isVisible());  // an empty folder
    button("Films")->click();
    settle();
    EXPECT_EQ(rows(), "Extras, one");
    EXPECT_TRUE(list().hasFocus());
    doubleClick("one");
    EXPECT_EQ(queue(), "one");
}

TEST_F(FileBrowserViewTest, filtersAndSorts) {
    show();
    view.perform(SectionCommand::find);
    auto* search = view.findChild<QLineEdit*>();
    ASSERT_TRUE(search->hasFocus());
    QTest::keyClicks(search, "m");
    EXPECT_EQ(rows(), "Films, Music, a.mkv");
    QTest::keyClicks(search, "k");
    EXPECT_EQ(rows(), "a.mkv");
    search->clear();
    folders[0].push_back(file(5, "c.iso", 4'000'000));
    view.perform(SectionCommand::refresh);
    settle();
    auto* sort = qobject_cast<QToolButton*>(button("Sort"));
    ASSERT_NE(sort, nullptr);
    choose(*sort->menu(), "Size");
    EXPECT_EQ(rows(), "Films, Music, c.iso, a.mkv, b.txt");
    EXPECT_TRUE(sort->menu()->actions().at(1)->isChecked());
}

TEST_F(FileBrowserViewTest, keepsTheSelectionThroughEveryChangeOfTheRows) {
    show();
    EXPECT_FALSE(isEnabled("Download"));
    click("a.mkv");
    click("b.txt", Qt::ControlModifier);
    EXPECT_EQ(state.selectedFiles(), (FileIDs{FileID(3), FileID(4)}));
    folders[0].insert(folders[0].begin(), file(9, "0.first"));
    view.perform(SectionCommand::refresh);
    settle();
    EXPECT_EQ(rows(), "Films, Music, 0.first, a.mkv, b.txt");
    EXPECT_EQ(selectedRows(), "a.mkv, b.txt");
    screen.search("first");
    EXPECT_EQ(selectedRows(), "");
    EXPECT_EQ(state.selectedFiles(), (FileIDs{FileID(3), FileID(4)}));
    screen.search("");
    screen.perform(FileToolbarAction::sortBySize);
    EXPECT_EQ(selectedRows(), "a.mkv, b.txt");
    pressButton("Download");
    EXPECT_EQ(queue(), "b.txt, a.mkv");
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(state.selectedFiles().size(), 5U);
    doubleClick("Films");
    settle();
    EXPECT_EQ(selectedRows(), "");
    EXPECT_FALSE(isEnabled("Download"));
}

TEST_F(FileBrowserViewTest, offersWhatTheSelectionAllows) {
    show();
    QMenu* menu = openMenu("a.mkv");
    EXPECT_EQ(linesOf(menu),
              "Download | Download && Delete from put.io | - | Get Download Link | - | Open in put.io | - | "
              "Delete from put.io");
    choose(*menu, "Get Download Link");
    settle();
    EXPECT_EQ(workspace.clipboard, "https://storage.put.io/1");
    menu = openMenu("Music");
    EXPECT_EQ(linesOf(menu),
              "Open | Download Folder | Download Folder && Delete from put.io | - | Open in put.io | - | "
              "Delete from put.io");
    choose(*menu, "Open in put.io");
    EXPECT_TRUE(workspace.openedAddresses.at(0).ends_with("/files/2"));
    press(Qt::Key_A, Qt::ControlModifier);
    menu = openMenu("Music");
    EXPECT_EQ(linesOf(menu), "Download 2 Files | Download 2 Files && Delete | - | Delete 4 Items from put.io");
    choose(*menu, "Download 2 Files");
    EXPECT_EQ(queue(), "b.txt, a.mkv");
}

TEST_F(FileBrowserViewTest, deletesOnlyAfterAsking) {
    show();
    click("a.mkv");
    press(Qt::Key_Delete);
    EXPECT_EQ(sheet(), "Delete “a.mkv”? | This permanently removes it from your put.io account and can't be undone.");
    pressButton("Cancel");
    EXPECT_EQ(sheet(), "");
    EXPECT_EQ(requestsTo("/files/delete"), 0U);

    click("b.txt", Qt::ShiftModifier);
    press(Qt::Key_Delete);
    EXPECT_TRUE(sheet().starts_with("Delete 2 items?"));
    statuses["/files/delete"] = 404;
    pressButton("Delete from put.io");
    EXPECT_EQ(sheet(), "Something Went Wrong | HTTP error 404 from put.io.");
    pressButton("OK");
    EXPECT_EQ(sheet(), "");
    EXPECT_EQ(selectedRows(), "a.mkv, b.txt");

    statuses.clear();
    press(Qt::Key_Delete);
    folders[0].resize(2);
    pressButton("Delete from put.io");
    EXPECT_EQ(rows(), "Films, Music");
    EXPECT_EQ(selectedRows(), "");
    EXPECT_FALSE(isEnabled("Download"));
}

TEST_F(FileBrowserViewTest, asksNoLongerWhenItGoesOutOfView) {
    show();
    click("a.mkv");
    press(Qt::Key_Delete);
    view.hide();
    view.show();
    EXPECT_EQ(sheet(), "");
}

TEST_F(FileBrowserViewTest, movesRowsThatAreDroppedOnAFolder) {
    show();
    click("Music");
    click("a.mkv", Qt::ControlModifier);
    const auto dragged = selectedRowsDragged();
    EXPECT_FALSE(dragTo(*dragged, placeOf("b.txt")));
    EXPECT_FALSE(dragTo(*dragged, placeOf("Music")));  // into itself
    EXPECT_FALSE(dragTo(*dragged, {10, list().viewport()->height() - 10}));
    ASSERT_TRUE(dragTo(*dragged, placeOf("Films")));
    statuses["/files/move"] = 404;
    drop(*dragged, placeOf("Films"));
    settle();
    EXPECT_TRUE(requestBody("/files/move").find("parent_id=1") != std::string::npos) << requestBody("/files/move");
    EXPECT_TRUE(sheet().starts_with("Something Went Wrong"));
    EXPECT_EQ(requestsTo("/files/move"), 1U);
    pressButton("OK");

    statuses.clear();
    ASSERT_TRUE(dragTo(*dragged, placeOf("Films")));
    drop(*dragged, placeOf("Films"));
    std::erase_if(folders[0], [](const auto& entry) { return entry.name == "a.mkv" || entry.name == "Music"; });
    settle();
    EXPECT_EQ(sheet(), "");
    EXPECT_EQ(rows(), "Films, b.txt");
}

TEST_F(FileBrowserViewTest, uploadsLocalFilesThatAreDropped) {
    show();
    const auto dragged = localFiles({"/home/user/a.txt", "/home/user/b.txt"});
    ASSERT_TRUE(dragTo(*dragged, placeOf("Films")));
    drop(*dragged, placeOf("Films"));
    ASSERT_EQ(state.pendingUploads().size(), 2U);
    EXPECT_EQ(state.pendingUploads()[0].folderID, FolderID(1));
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    settle();

    // On a file as beside the rows: into the folder on view.
    for (const QPoint& place : {placeOf("b.txt"), QPoint(10, list().viewport()->height() - 10)}) {
        ASSERT_TRUE(dragTo(*dragged, place));
        drop(*dragged, place);
        EXPECT_EQ(rows(), "a.txt, b.txt, Films, Music, a.mkv, b.txt");
        EXPECT_FALSE(isEnabled("Upload"));
        settle();
        EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
        EXPECT_TRUE(isEnabled("Upload"));
    }
    QMimeData other;
    other.setUrls({QUrl("https://example.com/a.txt")});
    EXPECT_FALSE(dragTo(other, placeOf("Films")));
}

TEST_F(FileBrowserViewTest, cancelsAnUploadFromItsRow) {
    show();
    click("a.mkv");
    screen.upload({"/home/user/a.txt", "/home/user/b.txt"});
    EXPECT_EQ(rows(), "a.txt, b.txt, Films, Music, a.mkv, b.txt");
    EXPECT_EQ(selectedRows(), "a.mkv");
    EXPECT_EQ(list().rows()->index(0).data(Qt::AccessibleDescriptionRole).toString(), "Uploading...");
    QTest::mouseClick(list().viewport(), Qt::LeftButton, {}, list().buttonRect(0, 0).center());
    EXPECT_EQ(rows(), "b.txt, Films, Music, a.mkv, b.txt");
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(state.selectedFiles().size(), 4U);  // no upload among them
    settle();
    EXPECT_EQ(requestsTo("/upload"), 1U);
}

TEST_F(FileBrowserViewTest, uploadsWhatIsChosen) {
    show();
    for (const bool isConfirmed : {false, true}) {
        pressButton("Upload");
        auto* dialog = view.findChild<QFileDialog*>();
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog->windowTitle(), "Select files to upload to put.io");
        EXPECT_EQ(dialog->labelText(QFileDialog::Accept), "Upload");
        EXPECT_EQ(dialog->fileMode(), QFileDialog::ExistingFiles);
        if (isConfirmed) emit dialog->filesSelected({"/home/user/a.txt"});
        dialog->close();
        QCoreApplication::sendPostedEvents(dialog, QEvent::DeferredDelete);
        EXPECT_EQ(state.pendingUploads().size(), isConfirmed ? 1U : 0U);
    }
    statuses["/upload"] = 500;
    settle();
    EXPECT_TRUE(sheet().starts_with("Something Went Wrong | Couldn't upload “a.txt”: ")) << sheet();
}

TEST_F(FileBrowserViewTest, standsForAPicture) {
    folders[0] = {
        folder(1, "Films"), folder(2, "Music"),
        folder(3,
               "A folder whose name is as long as names of folders get "
               "when people put the whole description of what they hold into them, year and all (2010-2024)")};
    const std::tuple<const char*, const char*, std::int64_t> kinds[] = {
        {"Sintel.2010.2160p.mkv", "video/x-matroska", 3'412'345'678},
        {"Song of the Sea.flac", "audio/flac", 42'300'000},
        {"Holiday photograph.jpg", "image/jpeg", 2'300'000},
        {"Archive.zip", "application/zip", 812'000},
        {"Paper.pdf", "application/pdf", 1'200'000},
        {"Notes.txt", "text/plain", 0}};
    for (const auto& [name, type, size] : kinds) {
        PutIOFile one = file(static_cast<std::int64_t>(folders[0].size()) + 10, name, size);
        one.contentType = type;
        folders[0].push_back(one);
    }
    show();
    screen.upload({"/home/user/a.txt"});
    click("Films");
    click("Paper.pdf", Qt::ControlModifier);
    press(Qt::Key_Down, Qt::ControlModifier);
    takePictures(view, "files");
    screen.deleteSelection();
    takePictures(view, "files-deletion");
}

TEST_F(FileBrowserViewTest, offersToTryAgain) {
    statuses["parent_id=0"] = 404;
    show();
    ASSERT_NE(button("Retry"), nullptr);
    statuses.clear();
    pressButton("Retry");
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    EXPECT_EQ(button("Retry"), nullptr);
}

}  // namespace
}  // namespace tovri::test
