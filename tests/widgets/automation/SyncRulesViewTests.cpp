#include <QAccessible>
#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "tests/widgets/Seen.h"
#include "widgets/automation/SyncRuleTable.h"
#include "widgets/automation/SyncRulesView.h"
#include "widgets/parts/forms/StepperBox.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;
using namespace test;

class SyncRulesViewTest : public testing::Test {
public:
    SyncRulesViewTest() : folder(world().addFolder("Shows")) { view.resize(700, 500); }

    World& world() { return home.world; }

    void pass(std::chrono::milliseconds time) {
        world().loop.advance(time);
        settle();
    }

    // "Shows, /home/…, 5m, Waiting", by row.
    [[nodiscard]] QStringList rules() const {
        QStringList seen;
        const QAbstractItemModel& model = *table().model();
        for (int row = 0; table().isVisible() && row < model.rowCount(); ++row) {
            QStringList cells;
            for (const int column : {SyncRuleModel::remoteFolder, SyncRuleModel::localFolder, SyncRuleModel::interval,
                                     SyncRuleModel::status})
                cells << model.index(row, column).data().toString();
            seen << cells.join(", ");
        }
        return seen;
    }

    [[nodiscard]] SyncRuleTable& table() const { return *view.findChild<SyncRuleTable*>(); }

    [[nodiscard]] QModelIndex switchOf(int row) const { return table().model()->index(row, SyncRuleModel::enabled); }

    [[nodiscard]] QStringList sheetTexts() const {
        const Sheet* sheet = seenSheet(view);
        return sheet ? seenTexts(*sheet) : QStringList();
    }

    void chooseLocalFolder(const QString& path) {
        ASSERT_TRUE(press(*seenSheet(view), "Choose..."));
        auto* dialog = seenSheet(view)->findChild<QFileDialog*>();
        ASSERT_NE(dialog, nullptr);
        EXPECT_EQ(dialog->windowTitle(), "Select the local folder for synced downloads");
        emit dialog->filesSelected({path});
        dialog->close();
    }

    SyncWorld home;
    FolderID folder;
    SyncRulesScreen screen{
        *home.sync,
        home.world.api(),
        {home.world.loop, home.world.clock, home.world.random, home.world.folderAccess, "/home/user"}};
    SyncRulesView view{screen};
};

TEST_F(SyncRulesViewTest, makesARuleWithTheFolderBrowser) {
    world().addFolder("Season 1", folder);
    world().addFile("a.txt", "a");
    view.show();
    ASSERT_TRUE(seenTexts(view).contains("No Automation Rules"));
    ASSERT_TRUE(press(view, "Add Rule"));
    Sheet* sheet = seenSheet(view);
    ASSERT_NE(sheet, nullptr);
    EXPECT_LE(sheet->height(), view.height());
    EXPECT_TRUE(sheetTexts().contains("New Sync Rule"));
    EXPECT_TRUE(sheetTexts().contains("Selected: Your Files"));
    EXPECT_EQ(seenRows(*sheet), QStringList());  // a sign turns in their place
    home.settle();
    EXPECT_EQ(seenRows(*sheet), QStringList{"Shows"});
    EXPECT_FALSE(seenButton(*sheet, "Create Rule")->isEnabled());
    chooseLocalFolder("/srv/shows");
    EXPECT_TRUE(seenButton(*sheet, "Create Rule")->isEnabled());

    pressKeyInRow(*sheet, 0, Qt::Key_Return);  // opens the folder and confirms nothing
    ASSERT_EQ(seenSheet(view), sheet);
    EXPECT_TRUE(sheetTexts().contains("Selected: Shows"));
    home.settle();
    EXPECT_EQ(seenRows(*sheet), QStringList{"Season 1"});
    EXPECT_TRUE(listOf(*sheet).hasFocus());
    RowListView& folders = listOf(*sheet);
    QTest::mouseClick(folders.viewport(), Qt::LeftButton, {}, folders.visualRect(folders.rows()->index(0)).center());
    EXPECT_TRUE(sheetTexts().contains("Selected: Season 1"));
    home.settle();
    EXPECT_EQ(seenRows(*sheet), QStringList());
    ASSERT_TRUE(press(*sheet, "Shows"));  // on the way
    home.settle();
    EXPECT_EQ(seenRows(*sheet), QStringList{"Season 1"});

    auto* interval = sheet->findChild<StepperBox*>();
    EXPECT_EQ(interval->accessibleName(), "Check every 5 minutes");
    QTest::keyClick(interval, Qt::Key_Up);
    EXPECT_EQ(interval->text(), "Check every 6 minutes");
    ASSERT_TRUE(press(*sheet, "Delete from put.io after download"));
    ASSERT_TRUE(press(*sheet, "Create Rule"));
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(rules(), QStringList{"Shows, /srv/shows, 6m, Initializing"});
    EXPECT_FALSE(screen.row(0).deletes);
    home.settle();
    EXPECT_EQ(rules(), QStringList{"Shows, /srv/shows, 6m, Waiting"});

    ASSERT_TRUE(press(view, "Sync Now"));
    pass(10s);
    EXPECT_EQ(rules(), QStringList{"Shows, /srv/shows, 6m, 10 sec"});
    pass(1s);
    EXPECT_EQ(rules(), QStringList{"Shows, /srv/shows, 6m, 11 sec"});
}

TEST_F(SyncRulesViewTest, aLongNameLeavesItsSheetWithinTheWindow) {
    (void)world().addFolder(std::string(250, 'W'), folder);
    view.resize(700, 500);
    view.show();
    ASSERT_TRUE(press(view, "Add Rule"));
    home.settle();
    chooseLocalFolder("/srv/" + QString(250, 'W'));
    for (int level = 0; level < 2; ++level) {
        pressKeyInRow(*seenSheet(view), 0, Qt::Key_Return);
        home.settle();
    }
    settle();
    EXPECT_LE(seenSheet(view)->width(), 684);
    EXPECT_LE(seenSheet(view)->height(), view.height());
}

TEST_F(SyncRulesViewTest, editsARule) {
    (void)home.watch(folder);
    view.show();
    EXPECT_EQ(rules(), QStringList{"Shows, ~/Downloads/Shows, 5m, Waiting"});
    pressKeyInRow(view, 0, Qt::Key_Return);
    ASSERT_TRUE(sheetTexts().contains("Edit Sync Rule"));
    EXPECT_EQ(seenSheet(view)->findChild<QLineEdit*>()->text(), textOf(SyncWorld::local.native()));
    chooseLocalFolder("/srv/elsewhere");
    QTest::keyClick(seenSheet(view), Qt::Key_Escape);
    ASSERT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(rules(), QStringList{"Shows, ~/Downloads/Shows, 5m, Waiting"});

    ASSERT_TRUE(chooseInMenu(view, 0, "Edit"));
    chooseLocalFolder("/srv/elsewhere");
    ASSERT_TRUE(press(*seenSheet(view), "Save"));
    EXPECT_EQ(rules(), QStringList{"Shows, /srv/elsewhere, 5m, Waiting"});
    ASSERT_TRUE(chooseInMenu(view, 0, "Edit"));
    view.hide();
    EXPECT_FALSE(screen.editor().isOpen());
}

TEST_F(SyncRulesViewTest, turnsARuleOffAndOn) {
    (void)home.watch(folder);
    view.show();
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(switchOf(0)).center());
    EXPECT_EQ(rules(), QStringList{"Shows, ~/Downloads/Shows, —, Paused"});
    QAccessibleInterface* cell = QAccessible::queryAccessibleInterface(&table())->tableInterface()->cellAt(0, 5);
    EXPECT_EQ(cell->text(QAccessible::Name), "Enabled");
    EXPECT_FALSE(cell->state().checked);
    pressKeyInRow(view, 0, Qt::Key_Space);
    EXPECT_EQ(rules(), QStringList{"Shows, ~/Downloads/Shows, 5m, Waiting"});
    EXPECT_TRUE(cell->state().checked);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(switchOf(0)).center());
    EXPECT_EQ(seenSheet(view), nullptr);
}

TEST_F(SyncRulesViewTest, aQuickSecondClickLeavesTheNextRuleAlone) {
    const UUID first = home.watch(folder);
    (void)home.watch(world().addFolder("Films"), "Films");
    view.show();
    settle();
    const auto deleteFirst = [&] {
        home.sync->deleteRule(first);
        settle();
    };
    const QPoint place = table().visualRect(switchOf(0)).center();
    doubleClick(view, table().viewport()->mapTo(&view, place), deleteFirst);
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(rules(), QStringList{"Films, ~/Downloads/Shows, 5m, Waiting"});
}

TEST_F(SyncRulesViewTest, showsTheLastErrorUntilItIsDismissed) {
    (void)home.watch(folder);
    (void)home.watch(world().addFolder("Films"), "Films");
    view.show();
    home.refusal = 500;
    ASSERT_TRUE(press(view, "Sync Now"));
    EXPECT_NE(seenButton(view, "Sync Now"), nullptr);
    home.world.loop.advance(10s);
    EXPECT_TRUE(seenTexts(view).contains("Sync failed for Films: HTTP error 500 from put.io."));
    ASSERT_TRUE(press(view, "Dismiss"));
    EXPECT_EQ(seenButton(view, "Dismiss"), nullptr);
    EXPECT_EQ(table().model()->index(0, 0).data(Qt::AccessibleDescriptionRole).toString(),
              "The last look failed: HTTP error 500 from put.io.");  // below the names

    EXPECT_EQ(seenMenu(view, 0), (QStringList{"Edit", "Sync Now", "-", "Delete"}));
    ASSERT_TRUE(chooseInMenu(view, 0, "Delete"));
    EXPECT_EQ(rules().size(), 1);
    pressKeyInRow(view, 0, Qt::Key_Delete);
    EXPECT_TRUE(seenTexts(view).contains("No Automation Rules"));
}

TEST_F(SyncRulesViewTest, pictures) {
    world().addFolder("Season 1", folder);
    world().addFolder("Season 2", folder);
    SyncRule rule = home.newRule(folder, "Shows");
    home.sync->addRule(rule);
    rule.id = home.world.random.makeUUID();
    rule.putioFolderName = "Documentaries and lectures that nobody has had the time to watch";
    rule.localFolderPath = "/media/archive/Videos/Documentaries and lectures/To be watched";
    rule.deleteAfterDownload = false;
    home.sync->addRule(rule);
    home.settle();
    home.pass();
    rule.id = home.world.random.makeUUID();
    rule.putioFolderName = "Music";
    rule.isEnabled = false;
    home.sync->addRule(rule);
    home.settle();
    home.refusal = 500;
    home.pass();
    rule.id = home.world.random.makeUUID();
    rule.putioFolderName = "Films";
    rule.isEnabled = true;
    rule.deleteAfterDownload = true;
    home.sync->addRule(rule);
    view.resize(720, 560);
    view.show();
    table().setCurrentIndex(table().model()->index(1, 0));
    takePictures(view, "automation");
    home.refusal.reset();
    ASSERT_TRUE(chooseInMenu(view, 0, "Edit"));
    pass(1s);
    takePictures(view, "automation-edit");
}

}  // namespace
}  // namespace tovri
