#include <QDragEnterEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QToolButton>

#include <gtest/gtest.h>

#include "tests/widgets/files/FileBrowserViewFixture.h"
#include "widgets/files/FileModel.h"
#include "widgets/parts/bars/Breadcrumbs.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class FileNavigationTest : public FileBrowserViewFixture {
public:
    [[nodiscard]] std::string path() const {
        std::string names;
        for (const Breadcrumb& folder : screen.breadcrumbs()) names += "/" + folder.name;
        return names;
    }

    // What has been answered by then, without the time in which an answer goes.
    [[nodiscard]] std::string answer() {
        loop.advance(1s);
        test::settle();
        return notices.shown() ? notices.shown()->text : "";
    }

    // A fast hand's two clicks on one place.
    void doubleClickAt(const QPoint& place, const std::function<void()>& meanwhile = [] {}) {
        test::doubleClick(view, list().viewport()->mapTo(&view, place), [&] {
            meanwhile();
            test::settle();
        });
        test::settle();
    }

    // Drags the files from the list onto the folder of the way; false when it does not take them.
    bool dropOn(const QString& folder, const FileIDs& files) {
        auto& way = *view.findChild<Breadcrumbs*>();
        const QPoint place = way.mapFromGlobal(button(folder)->mapToGlobal(button(folder)->rect().center()));
        QMimeData data;
        data.setData(FileModel::transferType, QByteArray::fromStdString(screen.dragPayload(files)));
        QDragEnterEvent enter(place, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&way, &enter);
        QDropEvent drop(place, Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(&way, &drop);
        return drop.isAccepted();
    }
};

// The old rows are still there, and not for the folder that the way names already.
TEST_F(FileNavigationTest, leavesTheRowsOfTheFolderBeforeAlone) {
    show();
    const QPoint films = placeOf("Films");
    doubleClickAt(films);
    EXPECT_EQ(path(), "/Your Files/Films");
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    EXPECT_TRUE(list().isInert());
    doubleClickAt(films);
    doubleClickAt(placeOf("b.txt"));
    list().selectAll();
    press(Qt::Key_Delete);
    press(Qt::Key_Return);
    EXPECT_EQ(path(), "/Your Files/Films");
    EXPECT_EQ(sheet() + queue(), "");
    EXPECT_FALSE(isEnabled("Download"));
    settle();
    EXPECT_FALSE(list().isInert());
    EXPECT_EQ(rows(), "Extras, one");
    // What has come under the pointer between the two clicks is another row.
    folders[1].insert(folders[1].begin(), folder(13, "Another"));
    doubleClickAt(placeOf("Extras"), [this] {
        state.loadFiles();
        settle();
    });
    EXPECT_EQ(rows(), "Another, Extras, one");
    EXPECT_EQ(path(), "/Your Files/Films");
}

TEST_F(FileNavigationTest, goesUpAndThroughWhatWasOnView) {
    show();
    const auto go = [this](SectionCommand command) {
        EXPECT_TRUE(view.can(command));
        view.perform(command);
        settle();
        return path();
    };
    EXPECT_FALSE(view.can(SectionCommand::goUp) || view.can(SectionCommand::goBack));
    screen.activate({FileID(1)});
    settle();
    screen.activate({FileID(12)});
    settle();
    EXPECT_EQ(go(SectionCommand::goUp), "/Your Files/Films");
    EXPECT_EQ(go(SectionCommand::goBack), "/Your Files/Films/Extras");
    EXPECT_EQ(go(SectionCommand::goBack), "/Your Files/Films");
    EXPECT_EQ(go(SectionCommand::goForward), "/Your Files/Films/Extras");
    screen.openBreadcrumb(0);
    settle();
    EXPECT_FALSE(view.can(SectionCommand::goForward));
    EXPECT_EQ(go(SectionCommand::goBack), "/Your Files/Films/Extras");
    state.reset();
    EXPECT_FALSE(view.can(SectionCommand::goBack));
}

TEST_F(FileNavigationTest, movesFilesByTheWayOrByASheetAndBack) {
    show();
    screen.activate({FileID(1)});
    settle();
    EXPECT_FALSE(dropOn("Films", {FileID(11)}));  // where they are
    EXPECT_TRUE(dropOn("Your Files", {FileID(11), FileID(12)}));
    EXPECT_EQ(answer(), "2 files moved to Your Files.");
    EXPECT_EQ(http.requests[http.requests.size() - 2].body, "file_ids=11,12&parent_id=0");
    notices.perform();
    EXPECT_EQ(answer(), "2 files moved back to Films.");
    EXPECT_EQ(http.requests[http.requests.size() - 2].body, "file_ids=11,12&parent_id=1");

    EXPECT_FALSE(view.can(SectionCommand::moveTo));
    click("Extras");
    EXPECT_TRUE(view.can(SectionCommand::moveTo));
    view.perform(SectionCommand::moveTo);
    settle();
    Sheet* asking = seenSheet(view);
    ASSERT_NE(asking, nullptr);
    EXPECT_FALSE(seenButton(*asking, "Move")->isEnabled());  // it is there
    pressKeyInRow(*asking, 0, Qt::Key_Return);
    EXPECT_FALSE(seenButton(*asking, "Move")->isEnabled());  // not into itself
    ASSERT_TRUE(test::press(*asking, "Your Files"));
    ASSERT_TRUE(test::press(*asking, "Move"));
    EXPECT_EQ(answer(), "1 file moved to Your Files.");
    EXPECT_EQ(seenSheet(view), nullptr);
}

TEST_F(FileNavigationTest, answersWhatItQueues) {
    show();
    click("a.mkv");
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_TRUE(seenTexts(view).contains("2 of 4 items selected, 1.2 MB"));
    ASSERT_TRUE(test::press(view, "Download"));
    EXPECT_EQ(answer(), "2 files queued.");
    notices.perform();
    EXPECT_TRUE(showsDownloads);
    screen.perform(FileMenuAction::downloadFolder, {FileID(2)});
    EXPECT_EQ(answer(), "“Music” has no files.");
    statuses["parent_id=1"] = 403;
    screen.perform(FileMenuAction::downloadFolder, {FileID(1)});
    notices.close();
    EXPECT_EQ(answer(), "“Films” could not be listed for download: HTTP error 403 from put.io.");
}

TEST_F(FileNavigationTest, saysThatTheFilterLetsNothingThrough) {
    show();
    EXPECT_TRUE(seenTexts(view).contains("4 items"));
    auto* search = view.findChild<QLineEdit*>();
    QTest::keyClicks(search, "nothing");
    EXPECT_TRUE(seenTexts(view).contains("No Matches"));
    const std::size_t requests = http.requests.size();
    ASSERT_TRUE(test::press(view, "Clear Filter"));
    EXPECT_EQ(rows(), "Films, Music, a.mkv, b.txt");
    EXPECT_TRUE(search->text().isEmpty());
    EXPECT_EQ(http.requests.size(), requests);
}

// One alert for all of them, however many they are, whose button can be reached.
TEST_F(FileNavigationTest, tellsOfAllFailedUploadsAtOnce) {
    show();
    statuses["/upload"] = 413;
    std::vector<std::filesystem::path> dropped;
    for (int i = 0; i < 60; ++i) {
        const std::string name = "/home/user/" + std::string(200, 'x') + std::to_string(i);
        files.put(name, "x");
        dropped.emplace_back(name);
    }
    screen.upload(dropped);
    settle();
    test::settle();
    Sheet* alert = seenSheet(view);
    ASSERT_NE(alert, nullptr);
    EXPECT_LE(alert->height(), view.height());
    EXPECT_LE(alert->width(), view.width());
    const QAbstractButton* ok = seenButton(*alert, "OK");
    EXPECT_TRUE(alert->rect().contains(QRect(ok->mapTo(alert, QPoint()), ok->size())));
    ASSERT_TRUE(test::press(*alert, "OK"));
    EXPECT_EQ(seenSheet(view), nullptr);
}

}  // namespace
}  // namespace tovri::test
