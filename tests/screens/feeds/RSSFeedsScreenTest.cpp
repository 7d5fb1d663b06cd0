#include "screens/ListFixture.h"
#include "screens/feeds/RSSFeedsScreen.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

class RSSFeedsScreenTest : public test::ListFixture {
public:
    RSSFeedsScreenTest() : ListFixture(R"({"id":1,"title":"News"},{"id":2,"paused":true})") {}

    void appear() {
        screen.appear();
        loop.advance(1s);
    }

    [[nodiscard]] std::string titles() const {
        std::string text;
        for (const RSSFeedRow& row : screen.rows()) text += row.title + " ";
        return text;
    }

    RSSFeedsScreen screen{api, random};
};

TEST(RSSFeedRow, captionsOnlyWhatApplies) {
    RSSFeed feed;
    EXPECT_EQ(feedRow(feed).title, "Untitled");
    EXPECT_TRUE(feedCaption(feed).empty());
    feed.keyword = "";
    feed.paused = false;
    feed.deleteOldFiles = false;
    EXPECT_TRUE(feedCaption(feed).empty());
    EXPECT_EQ(feedMenu(feed).at(1).title, "Pause");

    feed.keyword = "1080p";
    feed.deleteOldFiles = true;
    feed.paused = true;
    feed.lastFetch = "2026-01-02T03:04:05";
    std::string caption;
    for (const Label& part : feedCaption(feed)) caption += std::string(part.symbol) + " " + part.text + ", ";
    EXPECT_EQ(caption,
              "magnifyingglass 1080p, trash Auto-delete, pause.circle.fill Paused,  Last: 2026-01-02T03:04:05, ");
    std::string menu;
    for (const auto& item : feedMenu(feed)) menu += item.title + ", ";
    EXPECT_EQ(menu, "Edit, Resume, Delete, ");
}

TEST_F(RSSFeedsScreenTest, loadsWhenItComesOnViewAndSaysWhyThereIsNothing) {
    listStatus = 404;
    screen.appear();
    EXPECT_EQ(screen.placeholder().value().text, "Loading RSS feeds...");
    loop.advance(1min);
    EXPECT_EQ(http.requests.size(), 1U);
    EXPECT_EQ(screen.placeholder().value().text, "HTTP error 404 from put.io.");

    listStatus = 200;
    screen.openPlaceholder();
    EXPECT_FALSE(screen.editor().isOpen());
    loop.advance(1s);
    EXPECT_FALSE(screen.placeholder());
    EXPECT_EQ(titles(), "News Untitled ");

    list = R"({"id":3,"title":"Shows"})";
    screen.refresh();
    loop.advance(1s);
    EXPECT_EQ(titles(), "Shows ");

    screen.disappear();
    EXPECT_EQ(titles(), "");
    const std::size_t requests = http.requests.size();
    screen.refresh();
    EXPECT_EQ(http.requests.size(), requests);
    list = "";
    appear();
    EXPECT_EQ(screen.placeholder().value().title, "No RSS Feeds");
    EXPECT_EQ(screen.placeholder().value().button, "Add RSS Feed");
    screen.openPlaceholder();
    EXPECT_TRUE(screen.editor().isOpen());
}

TEST_F(RSSFeedsScreenTest, pausesResumesAndDeletes) {
    appear();
    screen.perform(RSSFeedAction::toggle, FeedID(1));
    loop.advance(1s);
    EXPECT_EQ(actions.back(), "/rss/pause id=1");
    list = R"({"id":1,"title":"Old News"},{"id":2,"paused":true})";
    screen.perform(RSSFeedAction::toggle, FeedID(2));
    loop.advance(1s);
    EXPECT_EQ(actions.back(), "/rss/resume id=2");
    EXPECT_EQ(titles(), "Old News Untitled ");

    screen.perform(RSSFeedAction::remove, FeedID(2));
    const DestructiveAction action = screen.dialogs().pendingAction().value();
    EXPECT_EQ(action.title, "Delete “Untitled”?");
    EXPECT_EQ(action.message, "This permanently removes it from your put.io account and can't be undone.");
    EXPECT_EQ(action.confirmLabel, "Delete Feed");
    list = R"({"id":1,"title":"News"})";
    screen.dialogs().confirm();
    loop.advance(1s);
    EXPECT_EQ(actions.back(), "/rss/delete id=2");
    EXPECT_EQ(titles(), "News ");

    actionStatus = 500;
    screen.perform(RSSFeedAction::toggle, FeedID(1));
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "HTTP error 500 from put.io.");
    screen.dialogs().dismissFailure();
    screen.perform(RSSFeedAction::remove, FeedID(1));
    screen.dialogs().confirm();
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "HTTP error 500 from put.io.");
}

TEST_F(RSSFeedsScreenTest, theNewestLoadOwnsTheSignThatTurns) {
    http.actsAtOnce = true;
    http.latency = 2s;
    list = "";
    screen.appear();
    http.latency = 20ms;
    screen.editor().open(std::nullopt);
    screen.editor().setFields({.rssURL = "https://example.com/rss"});
    screen.editor().confirm();
    list = R"({"id":1,"title":"News"})";
    loop.advance(1s);
    EXPECT_EQ(titles(), "News ");
    loop.advance(2s);  // the older answer
    EXPECT_EQ(titles(), "News ");
    EXPECT_FALSE(screen.placeholder());
}

// --- The editor ---

TEST_F(RSSFeedsScreenTest, makesAFeed) {
    appear();
    screen.perform(RSSFeedToolbarAction::add);
    RSSFeedEditorSheet& editor = screen.editor();
    EXPECT_STREQ(editor.title(), "New RSS Feed");
    EXPECT_STREQ(editor.confirmLabel(), "Add Feed");
    EXPECT_EQ(editor.fields(), (RSSFeedEditorSheet::Fields{"", "", "", rootFolderID, true, false}));

    editor.setFields({.title = "T", .rssURL = " \t\n"});
    EXPECT_FALSE(editor.canConfirm());
    editor.setFields({.title = "T", .rssURL = "https://example.com/rss\n", .keyword = "k", .deleteOldFiles = true});
    actionStatus = 400;
    editor.confirm();
    EXPECT_FALSE(editor.canConfirm());
    loop.advance(1s);
    EXPECT_EQ(editor.error(), "HTTP error 400 from put.io.");
    EXPECT_EQ(editor.fields().title, "T");

    actionStatus = 200;
    list += R"(,{"id":3,"title":"T"})";
    editor.confirm();
    loop.advance(1s);
    EXPECT_FALSE(editor.isOpen());
    EXPECT_EQ(actions.back(),
              "/rss/create delete_old_files=true&dont_process_whole_feed=true&keyword=k&parent_dir_id=0&"
              "rss_source_url=https://example.com/rss&title=T");
    EXPECT_EQ(titles(), "News Untitled T ");
}

TEST_F(RSSFeedsScreenTest, editsAFeed) {
    list = R"({"id":1,"title":"News","rss_source_url":"https://a/b","keyword":"k","parent_dir_id":5,
               "dont_process_whole_feed":false,"delete_old_files":true},{"id":2,"rss_source_url":"https://a/c"})";
    appear();
    screen.perform(RSSFeedAction::edit, FeedID(1));
    RSSFeedEditorSheet& editor = screen.editor();
    EXPECT_STREQ(editor.title(), "Edit RSS Feed");
    EXPECT_STREQ(editor.confirmLabel(), "Save");
    EXPECT_EQ(editor.fields(), (RSSFeedEditorSheet::Fields{"News", "https://a/b", "k", FolderID(5), false, true}));
    editor.confirm();
    editor.close();  // calls it off
    loop.advance(1s);
    EXPECT_EQ(http.answered, 1);

    screen.perform(RSSFeedAction::edit, FeedID(2));
    EXPECT_EQ(editor.fields(), (RSSFeedEditorSheet::Fields{"", "https://a/c", "", rootFolderID, true, false}));
    editor.confirm();
    loop.advance(1s);
    EXPECT_EQ(actions.back(), "/rss/update delete_old_files=false&dont_process_whole_feed=true&id=2&keyword=");

    screen.perform(RSSFeedAction::edit, FeedID(1));
    editor.setFields({.rssURL = "https://a/b"});  // a title can be taken away
    editor.confirm();
    loop.advance(1s);
    EXPECT_EQ(actions.back(), "/rss/update delete_old_files=false&dont_process_whole_feed=true&id=1&keyword=&title=");
}

}  // namespace
}  // namespace tovri
