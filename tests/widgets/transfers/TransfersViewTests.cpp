#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

#include "screens/ListFixture.h"
#include "support/FakeWorkspace.h"
#include "tests/widgets/Seen.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/rows/RowListView.h"
#include "widgets/transfers/TransfersView.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;
using namespace test;

constexpr const char* film =
    R"({"id":1,"name":"Big Buck Bunny 2160p","status":"DOWNLOADING","percent_done":45,"downloaded":450000000,)"
    R"("size":1000000000,"down_speed":12400000,"up_speed":34000})";
constexpr const char* waiting =
    R"({"id":2,"name":"ubuntu-24.04-desktop-amd64.iso","status":"IN_QUEUE","size":6114000000})";
constexpr const char* song =
    R"({"id":3,"name":"Album & Extras","status":"seeding","uploaded":2000000,"up_speed":34000,"current_ratio":1.25,)"
    R"("peers_connected":7})";
constexpr const char* broken =
    R"({"id":4,"name":"Lost film","status":"ERROR","error_message":"The tracker does not know this torrent."})";
constexpr const char* nameless = R"({"id":5,"status":"COMPLETED","size":2300000})";

class TransfersViewTest : public ListFixture {
public:
    TransfersViewTest() : ListFixture(std::string(film) + "," + song + "," + broken) { view.resize(700, 500); }

    void show() {
        view.show();
        pass(1s);
    }

    void pass(std::chrono::milliseconds time) {
        loop.advance(time);
        settle();
    }

    [[nodiscard]] QStringList sheetTexts() const {
        const Sheet* sheet = seenSheet(view);
        return sheet ? seenTexts(*sheet) : QStringList();
    }

    FakeWorkspace workspace;
    TransfersScreen screen{api, workspace, platform.loop, platform.random};
    TransfersView view{screen};
};

TEST_F(TransfersViewTest, keepsTheSelectionWhileTheListRefreshesItself) {
    show();
    EXPECT_EQ(seenRows(view),
              (QStringList{"Active:", "Big Buck Bunny 2160p | 45% · 450 MB / 1 GB · 12.4 MB/s [Cancel]",
                           "Seeding:", "Album & Extras | 2 MB · 34 KB/s · Ratio: 1.25 · 7 peers [Cancel]",
                           "Failed:", "Lost film | The tracker does not know this torrent. [Retry]"}));
    listOf(view).setCurrentIndex(listOf(view).rows()->index(5));
    list = std::string(broken) + "," + nameless;
    pass(5s);
    EXPECT_EQ(seenRows(view), (QStringList{"Failed:", "Lost film | The tracker does not know this torrent. [Retry]",
                                           "Completed:", "Unknown Transfer | 2.3 MB · Completed"}));
    EXPECT_EQ(listOf(view).selectedRows(), std::vector<int>{1});
    EXPECT_EQ(seenMenu(view, 1), QStringList{"Retry"});
    EXPECT_EQ(seenMenu(view, 3), QStringList());

    listOf(view).setCurrentIndex(listOf(view).rows()->index(1));
    list = std::string(R"({"id":4,"name":"Lost film","status":"IN_QUEUE"},)") + nameless;
    pass(5s);
    EXPECT_EQ(seenRows(view)[1], "Lost film | 0% · 0 bytes / 0 bytes [Cancel]");
    EXPECT_EQ(listOf(view).selectedRows(), std::vector<int>{1}) << "it went over to another section";
    list = std::string(R"({"id":4,"name":"Lost film","status":"COMPLETED"},)") + film;
    pass(5s);
    EXPECT_EQ(seenRows(view).last(), "Lost film | 0 bytes · Completed");
    EXPECT_EQ(listOf(view).selectedRows(), std::vector<int>{3});
}

TEST_F(TransfersViewTest, addsTheTransferOnTheClipboard) {
    workspace.clipboard = "magnet:?xt=urn:btih:0";
    list = "";
    show();
    ASSERT_TRUE(seenTexts(view).contains("No Transfers"));
    workspace.clipboard = "something else";
    ASSERT_TRUE(press(view, "Add Transfer"));
    Sheet* sheet = seenSheet(view);
    ASSERT_NE(sheet, nullptr);
    auto* field = sheet->findChild<QLineEdit*>();
    EXPECT_EQ(field->text(), "");
    QTest::keyClick(sheet, Qt::Key_Return);  // of nothing
    EXPECT_TRUE(actions.empty());
    QTest::keyClick(sheet, Qt::Key_Escape);
    settle();
    ASSERT_EQ(seenSheet(view), nullptr);

    workspace.clipboard = "magnet:?xt=urn:btih:0";
    ASSERT_TRUE(press(view, "Add Transfer"));
    sheet = seenSheet(view);
    ASSERT_NE(sheet, nullptr);
    field = sheet->findChild<QLineEdit*>();
    EXPECT_EQ(field->text(), "magnet:?xt=urn:btih:0");
    actionStatus = 400;
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_FALSE(seenButton(*sheet, "Add Transfer")->isEnabled());
    pass(1s);
    EXPECT_TRUE(sheetTexts().contains("HTTP error 400 from put.io."));

    actionStatus = 200;
    field->clear();
    QTest::keyClicks(field, " https://example.com/a ");
    sheet->findChild<QCheckBox*>()->click();
    ASSERT_TRUE(press(*sheet, "Add Transfer"));
    EXPECT_FALSE(sheetTexts().contains("HTTP error 400 from put.io."));
    list = waiting;
    pass(1s);
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(actions.back(), "/transfers/add extract=true&url=https://example.com/a");
    pass(5s);
    EXPECT_EQ(seenRows(view).value(1), "ubuntu-24.04-desktop-amd64.iso | 0% · 0 bytes / 6.11 GB [Cancel]");
}

TEST_F(TransfersViewTest, cancelsATransferOnlyAfterTheUsersWord) {
    show();
    ASSERT_TRUE(pressInRow(view, 3, "Cancel"));
    EXPECT_TRUE(sheetTexts().contains("Cancel “Album & Extras”?"));
    EXPECT_TRUE(sheetTexts().contains("put.io stops the transfer and discards what it has downloaded so far."));
    QTest::keyClick(seenSheet(view), Qt::Key_Escape);
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_TRUE(actions.empty());

    pressKeyInRow(view, 5, Qt::Key_Delete);  // there is nothing left to cancel
    EXPECT_EQ(seenSheet(view), nullptr);
    pressKeyInRow(view, 1, Qt::Key_Delete);
    ASSERT_NE(seenSheet(view), nullptr);
    ASSERT_TRUE(press(*seenSheet(view), "Cancel Transfer"));
    list = song;
    pass(1s);
    EXPECT_EQ(actions, std::vector<std::string>{"/transfers/cancel transfer_ids=1"});
    EXPECT_EQ(seenRows(view).size(), 2);
    EXPECT_EQ(seenSheet(view), nullptr);
}

TEST_F(TransfersViewTest, retriesAndCleansAndTellsWhatFailed) {
    show();
    actionStatus = 500;
    ASSERT_TRUE(pressInRow(view, 5, "Retry"));
    pass(1s);
    EXPECT_TRUE(sheetTexts().contains("Something Went Wrong"));
    EXPECT_TRUE(sheetTexts().contains("HTTP error 500 from put.io."));
    ASSERT_TRUE(press(*seenSheet(view), "OK"));
    EXPECT_EQ(seenSheet(view), nullptr);

    actionStatus = 200;
    EXPECT_FALSE(press(view, "Clean"));  // nothing has finished
    list += std::string(",") + nameless;
    ASSERT_TRUE(chooseInMenu(view, 5, "Retry"));
    pass(1s);
    ASSERT_TRUE(press(view, "Clean"));
    EXPECT_EQ(seenButton(view, "Clean")->toolTip(), "Remove completed transfers");
    list = film;
    pass(1s);
    EXPECT_EQ(actions,
              (std::vector<std::string>{"/transfers/retry id=4", "/transfers/retry id=4", "/transfers/clean "}));
    EXPECT_EQ(seenRows(view).size(), 2);
}

TEST_F(TransfersViewTest, startsAnewWhenItIsShownAgain) {
    listStatus = 500;
    view.show();
    EXPECT_TRUE(seenTexts(view).contains("Loading transfers..."));
    pass(1s);
    EXPECT_TRUE(seenTexts(view).contains("HTTP error 500 from put.io."));
    listStatus = 200;
    ASSERT_TRUE(press(view, "Retry"));
    pass(1s);
    EXPECT_EQ(seenRows(view).size(), 6);
    ASSERT_TRUE(press(view, "Add Transfer"));
    QHideEvent minimised;
    QSpontaneKeyEvent::setSpontaneous(&minimised);
    qApp->notify(&view, &minimised);
    EXPECT_TRUE(screen.addSheet().isOpen());
    view.hide();
    EXPECT_FALSE(screen.addSheet().isOpen());
    pass(1ms);
    EXPECT_TRUE(loop.isIdle());
    show();
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(seenRows(view).size(), 6);
}

TEST_F(TransfersViewTest, pictures) {
    list = std::string(film) + "," + waiting + "," + song + "," + broken + "," + nameless;
    view.resize(720, 560);
    show();
    listOf(view).setCurrentIndex(listOf(view).rows()->index(1));
    takePictures(view, "transfers");
    workspace.clipboard = "magnet:?xt=urn:btih:dd8255ecdc7ca55fb0bbf81323d87062db1f6d1c&dn=Big+Buck+Bunny";
    ASSERT_TRUE(press(view, "Add Transfer"));
    actionStatus = 400;
    ASSERT_TRUE(press(*seenSheet(view), "Add Transfer"));
    pass(1s);
    takePictures(view, "transfers-add");
}

}  // namespace
}  // namespace tovri
