#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/display/DisplayText.h"
#include "cli/display/FeedListing.h"
#include "cli/display/RowLayout.h"
#include "cli/display/RuleListing.h"
#include "cli/display/TransferListing.h"

namespace tovri::cli {
namespace {

using testing::ElementsAre;

Transfer transfer(std::int64_t id, std::string status) {
    Transfer result;
    result.id = TransferID(id);
    result.status = std::move(status);
    return result;
}

TEST(TransferListing, groupsByStatusInTheServicesOrder) {
    Transfer seeding = transfer(9, "seeding");  // in any case
    seeding.name = "a\nb";
    seeding.uploaded = 367'000'000;
    seeding.currentRatio = 0.499;
    seeding.upSpeed = BytesPerSecond(-1);
    Transfer failed = transfer(10, "ERROR");
    failed.errorMessage = "gone";
    Transfer without;
    without.id = TransferID(3);
    EXPECT_THAT(transferLines({without, transfer(5, "COMPLETED"), failed, transfer(7, "Error"), seeding,
                               transfer(8, "IN_QUEUE"), transfer(6, "STOPPING")},
                              std::nullopt),
                ElementsAre("1 active \xC2\xB7 1 seeding \xC2\xB7 2 failed", "", "Active",
                            "   8  Unknown Transfer  0% \xC2\xB7 0 bytes / 0 bytes", "", "Seeding",
                            "   9  a\xEF\xBF\xBD"
                            "b               367 MB \xC2\xB7 Ratio: 0.50 \xC2\xB7 0 peers",
                            "", "Failed", "  10  Unknown Transfer  gone", "   7  Unknown Transfer  Transfer failed", "",
                            "Completed", "   5  Unknown Transfer  0 bytes \xC2\xB7 Completed", "", "Other",
                            "   3  Unknown Transfer", "   6  Unknown Transfer  STOPPING"));
    EXPECT_THAT(transferLines({transfer(5, "COMPLETED")}, std::nullopt).front(), "Completed") << "nothing to sum up";
    EXPECT_THAT(transferLines({}, 80), ElementsAre("No Transfers"));
}

TEST(FeedListing, saysWhatApplies) {
    const RSSFeed full{FeedID(1), "t", "r", "k", FolderID(2), true, true, true, "2026-01-01", true};
    const RSSFeed off{FeedID(2), "", "r", "", FolderID(2), false, false, false, std::nullopt, false};
    EXPECT_THAT(feedLines({full, off}, std::nullopt),
                ElementsAre("1  t         Keyword: k · Auto-delete · Paused · Last: 2026-01-01", "2  Untitled"));
}

TEST(RuleListing, saysWhereFilesGoAndWhenTheRuleLooked) {
    const Timestamp now = std::chrono::sys_days{std::chrono::year{2026} / 11 / 23};
    SyncRule synced;
    synced.id = *UUID::parse("A0000000-0000-4000-8000-000000000000");
    synced.putioFolderName = "Series\n";
    synced.localFolderPath = "/home/user/Shows";
    synced.pollIntervalMinutes = 5;
    synced.isInitialized = true;
    synced.deleteAfterDownload = true;
    synced.lastSyncDate = now - std::chrono::hours(1);
    SyncRule paused = synced;
    paused.id = *UUID::parse("B0000000-0000-4000-8000-000000000000");
    paused.localFolderPath = "/home/user2";
    paused.isEnabled = false;
    paused.deleteAfterDownload = false;
    EXPECT_THAT(ruleLines({synced, paused}, now, "/home/user", std::nullopt),
                ElementsAre("A0000000  Series\xEF\xBF\xBD → ~/Shows      1 hour ago · every 5m · deletes from put.io",
                            "B0000000  Series\xEF\xBF\xBD → /home/user2  Paused"));
}

TEST(RowLayout, fitsAnyWidth) {
    const std::string wide = "\xE6\x98\xA0\xE7\x94\xBB \xE6\x98\xA0\xE7\x94\xBB";  // two columns each
    const std::vector<ListedRow> rows{{"1", wide, ""}, {"12345", std::string(300, 'x'), std::string(50, 'y')}};
    for (std::size_t width = 0; width < 400; ++width)
        for (const std::string& line : alignedRows(rows, width))
            EXPECT_LE(columnsOf(line), std::max<std::size_t>(width, 10) - 1) << width;
    EXPECT_THAT(alignedRows({{"1", "long title of a thing", "detail"}, {"22", "short", "more"}}, 24),
                ElementsAre(" 1  long ti\xE2\x80\xA6ing  detail", "22  short        more"));
}

}  // namespace
}  // namespace tovri::cli
