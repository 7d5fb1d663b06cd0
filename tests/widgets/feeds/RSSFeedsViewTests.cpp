#include <QCheckBox>
#include <QLineEdit>
#include <QTest>

#include "screens/ListFixture.h"
#include "tests/widgets/Seen.h"
#include "widgets/feeds/RSSFeedsView.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/rows/RowListView.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;
using namespace test;

constexpr const char* shows =
    R"({"id":1,"title":"Shows & more","rss_source_url":"https://example.com/shows","keyword":"1080p",)"
    R"("delete_old_files":true,"dont_process_whole_feed":false,"last_fetch":"2026-11-20T10:15:00"})";
constexpr const char* untitled = R"({"id":2,"rss_source_url":"https://example.com/2","paused":true})";
constexpr const char* added = R"({"id":9,"title":"New"})";

class RSSFeedsViewTest : public ListFixture {
public:
    RSSFeedsViewTest() : ListFixture(std::string(shows) + "," + untitled) { view.resize(700, 500); }

    void show() {
        view.show();
        pass();
    }

    void pass() {
        loop.advance(1s);
        settle();
    }

    [[nodiscard]] QStringList sheetTexts() const {
        const Sheet* sheet = seenSheet(view);
        return sheet ? seenTexts(*sheet) : QStringList();
    }

    // The field of the sheet that a screen reader knows by that name.
    [[nodiscard]] QLineEdit* field(const QString& name) const {
        for (auto* edit : seenSheet(view)->findChildren<QLineEdit*>())
            if (edit->accessibleName() == name) return edit;
        return nullptr;
    }

    [[nodiscard]] bool isOn(const QString& option) const { return seenButton(*seenSheet(view), option)->isChecked(); }

    RSSFeedsScreen screen{api, random};
    RSSFeedsView view{screen};
};

TEST_F(RSSFeedsViewTest, addsAFeed) {
    list = "";
    show();
    ASSERT_TRUE(seenTexts(view).contains("No RSS Feeds"));
    ASSERT_TRUE(press(view, "Add RSS Feed"));
    ASSERT_TRUE(sheetTexts().contains("New RSS Feed"));
    EXPECT_TRUE(isOn("Skip existing items on first fetch"));
    EXPECT_FALSE(isOn("Delete old files when new ones arrive"));

    Sheet* sheet = seenSheet(view);
    QTest::keyClicks(field("RSS Feed URL"), "  ");
    EXPECT_FALSE(seenButton(*sheet, "Add Feed")->isEnabled());
    QTest::keyClicks(field("RSS Feed URL"), "https://example.com/new");
    QTest::keyClicks(field("Title"), "New");
    QTest::keyClicks(field("Keyword filter (optional)"), "x264");
    ASSERT_TRUE(press(*sheet, "Delete old files when new ones arrive"));

    actionStatus = 400;
    QTest::keyClick(field("Title"), Qt::Key_Return);
    EXPECT_FALSE(seenButton(*sheet, "Add Feed")->isEnabled());
    pass();
    EXPECT_TRUE(sheetTexts().contains("HTTP error 400 from put.io."));
    EXPECT_EQ(field("Title")->text(), "New");

    actionStatus = 200;
    list = added;
    ASSERT_TRUE(press(*sheet, "Add Feed"));
    EXPECT_FALSE(sheetTexts().contains("HTTP error 400 from put.io."));
    pass();
    EXPECT_EQ(seenSheet(view), nullptr);
    EXPECT_EQ(seenRows(view), QStringList{"New"});
    EXPECT_EQ(actions.back(),
              "/rss/create delete_old_files=true&dont_process_whole_feed=true&keyword=x264&parent_dir_id=0&"
              "rss_source_url=https://example.com/new&title=New");
}

TEST_F(RSSFeedsViewTest, editsAFeed) {
    show();
    EXPECT_EQ(seenRows(view),
              (QStringList{"Shows & more | 1080p · Auto-delete · Last: 2026-11-20T10:15:00", "Untitled | Paused"}));
    EXPECT_EQ(seenMenu(view, 0), (QStringList{"Edit", "Pause", "Delete"}));
    ASSERT_TRUE(chooseInMenu(view, 1, "Edit"));
    ASSERT_TRUE(sheetTexts().contains("Edit RSS Feed"));
    EXPECT_EQ(field("Title")->text(), "");
    EXPECT_EQ(field("RSS Feed URL")->text(), "https://example.com/2");
    EXPECT_TRUE(isOn("Skip existing items on first fetch"));
    QTest::keyClicks(field("Title"), "dropped");
    QTest::keyClick(seenSheet(view), Qt::Key_Escape);
    ASSERT_EQ(seenSheet(view), nullptr);
    EXPECT_TRUE(actions.empty());

    // Before the sheet that was closed is destroyed.
    pressKeyInRow(view, 0, Qt::Key_Return);
    ASSERT_NE(seenSheet(view), nullptr);
    EXPECT_EQ(field("Title")->text(), "Shows & more");
    EXPECT_EQ(field("Keyword filter (optional)")->text(), "1080p");
    EXPECT_FALSE(isOn("Skip existing items on first fetch"));
    field("Keyword filter (optional)")->clear();
    ASSERT_TRUE(press(*seenSheet(view), "Save"));
    pass();
    EXPECT_EQ(actions, std::vector<std::string>{"/rss/update delete_old_files=true&dont_process_whole_feed=false&"
                                                "id=1&keyword=&title=Shows%20%26%20more"});
    EXPECT_EQ(seenSheet(view), nullptr);
}

TEST_F(RSSFeedsViewTest, pausesAndDeletesAFeed) {
    show();
    ASSERT_TRUE(chooseInMenu(view, 1, "Resume"));
    ASSERT_TRUE(chooseInMenu(view, 0, "Pause"));
    pass();
    EXPECT_EQ(actions, (std::vector<std::string>{"/rss/resume id=2", "/rss/pause id=1"}));
    list = R"({"id":1,"title":"Shows"},{"id":2})";
    ASSERT_TRUE(chooseInMenu(view, 1, "Resume"));
    pass();
    EXPECT_EQ(seenRows(view), (QStringList{"Shows", "Untitled"}));
    EXPECT_EQ(seenMenu(view, 1), (QStringList{"Edit", "Pause", "Delete"}));
    list = R"({"id":1,"title":"Shows"},{"id":2,"paused":true})";
    ASSERT_TRUE(chooseInMenu(view, 1, "Pause"));
    pass();
    EXPECT_EQ(seenRows(view), (QStringList{"Shows", "Untitled | Paused"}));

    pressKeyInRow(view, 1, Qt::Key_Delete);
    EXPECT_TRUE(sheetTexts().contains("Delete “Untitled”?"));
    EXPECT_TRUE(sheetTexts().contains("This permanently removes it from your put.io account and can't be undone."));
    QTest::keyClick(seenSheet(view), Qt::Key_Return);  // cancels: what is destroyed is not a slip of a key away
    EXPECT_EQ(seenSheet(view), nullptr);
    actions.clear();
    ASSERT_TRUE(chooseInMenu(view, 1, "Delete"));
    list = shows;
    ASSERT_NE(seenSheet(view), nullptr);
    ASSERT_TRUE(press(*seenSheet(view), "Delete Feed"));
    pass();
    EXPECT_EQ(actions, std::vector<std::string>{"/rss/delete id=2"});
    EXPECT_EQ(seenRows(view).size(), 1);

    actionStatus = 500;
    ASSERT_TRUE(chooseInMenu(view, 0, "Pause"));
    pass();
    EXPECT_TRUE(sheetTexts().contains("Something Went Wrong"));
    EXPECT_TRUE(sheetTexts().contains("HTTP error 500 from put.io."));
}

TEST_F(RSSFeedsViewTest, pictures) {
    view.resize(720, 560);
    show();
    listOf(view).setCurrentIndex(listOf(view).rows()->index(0));
    takePictures(view, "feeds");
    ASSERT_TRUE(chooseInMenu(view, 0, "Edit"));
    actionStatus = 400;
    ASSERT_TRUE(press(*seenSheet(view), "Save"));
    pass();
    takePictures(view, "feeds-edit");
}

}  // namespace
}  // namespace tovri
