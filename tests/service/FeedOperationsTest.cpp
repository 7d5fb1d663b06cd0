#include "service/PutIOAPI.h"
#include "service/ServiceFixture.h"

namespace tovri {
namespace {

using FeedOperationsTest = test::ServiceFixture;

TEST_F(FeedOperationsTest, listNoFeedsWhereTheAnswerHasNone) {
    EXPECT_EQ(run(api.listFeeds(never())), std::vector<RSSFeed>());
    EXPECT_EQ(lastRequest(), "GET /rss/list ");
    answerWith(200, R"({"feeds":[{"id":3},{"id":1}],"status":"OK"})");
    EXPECT_EQ(run(api.listFeeds(never()))->front().id, FeedID(3));
}

TEST_F(FeedOperationsTest, createLeavesOutWhatUpdateSends) {
    answerWith(200, R"({"feed":{"id":3},"status":"OK"})");
    EXPECT_EQ(run(api.createFeed({.title = "t", .rssSourceURL = "https://a/b"}, never()))->id, FeedID(3));
    EXPECT_EQ(lastRequest(), "POST /rss/create parent_dir_id=0&rss_source_url=https://a/b&title=t");
    NewRSSFeed whole{"t", "https://a/b", FolderID(4), "1080p", true, true};
    EXPECT_TRUE(run(api.createFeed(std::move(whole), never())));
    EXPECT_EQ(lastRequest(),
              "POST /rss/create delete_old_files=true&dont_process_whole_feed=true&keyword=1080p&parent_dir_id=4&"
              "rss_source_url=https://a/b&title=t");

    answerWith(200, R"({"status":"OK"})");
    EXPECT_TRUE(run(api.updateFeed({.id = FeedID(3), .title = std::nullopt, .keyword = ""}, never())));
    EXPECT_EQ(lastRequest(), "POST /rss/update delete_old_files=false&dont_process_whole_feed=false&id=3&keyword=");
    EXPECT_TRUE(run(api.updateFeed({FeedID(3), "new", "k", true, true}, never())));
    EXPECT_EQ(lastRequest(),
              "POST /rss/update delete_old_files=true&dont_process_whole_feed=true&id=3&keyword=k&title=new");
}

TEST_F(FeedOperationsTest, nameTheFeedToBeDeletedPausedAndResumed) {
    EXPECT_TRUE(run(api.deleteFeed(FeedID(1), never())));
    EXPECT_EQ(lastRequest(), "POST /rss/delete id=1");
    EXPECT_TRUE(run(api.pauseFeed(FeedID(2), never())));
    EXPECT_EQ(lastRequest(), "POST /rss/pause id=2");
    EXPECT_TRUE(run(api.resumeFeed(FeedID(3), never())));
    EXPECT_EQ(lastRequest(), "POST /rss/resume id=3");
}

}  // namespace
}  // namespace tovri
