#include <limits>

#include <gtest/gtest.h>

#include "base/ByteCountFormat.h"
#include "screens/transfers/TransferRow.h"

namespace tovri {
namespace {

Transfer transfer(std::int64_t id, std::optional<std::string> status) {
    Transfer made;
    made.id = TransferID(id);
    made.status = std::move(status);
    return made;
}

TEST(TransferRow, showsWhatItsGroupIsAbout) {
    Transfer full = transfer(1, std::nullopt);
    full.name = "Film";
    full.size = 1'000'000'000;
    full.downloaded = 450'000'000;
    full.uploaded = 2'000'000;
    full.percentDone = 45;
    full.downSpeed = BytesPerSecond(2'000'000);
    full.upSpeed = BytesPerSecond(34'000);
    full.currentRatio = 1.005;
    full.peersConnected = 7;
    full.errorMessage = "Tracker says no";

    struct Case {
        const char* status = nullptr;
        const char* symbol = nullptr;
        const char* detail = nullptr;
        const char* button = nullptr;
    };

    const Case cases[] = {
        {"DOWNLOADING", "arrow.down.circle.fill", "45% · 450 MB / 1 GB · 2 MB/s", "Cancel"},
        {"IN_QUEUE", "clock", "45% · 450 MB / 1 GB · 2 MB/s", "Cancel"},
        {"waiting", "clock", "45% · 450 MB / 1 GB · 2 MB/s", "Cancel"},
        {"COMPLETING", "gearshape.2", "45% · 450 MB / 1 GB · 2 MB/s", "Cancel"},
        {"seeding", "arrow.up.circle.fill", "2 MB · 34 KB/s · Ratio: 1.00 · 7 peers", "Cancel"},
        {"ERROR", "xmark.circle.fill", "Tracker says no", "Retry"},
        {"COMPLETED", "checkmark.circle.fill", "1 GB · Completed", nullptr},
        {"PREPARING_DOWNLOAD", "questionmark.circle", "", nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        full.status = c.status;
        const TransferRow row = transferRow(full);
        EXPECT_EQ(row.title, "Film");
        EXPECT_EQ(row.symbol, c.symbol);
        EXPECT_EQ(row.detail, c.detail);
        const auto button = transferButton(row);
        EXPECT_EQ(button ? button->help : "", c.button ? c.button : "");
        EXPECT_EQ(transferMenu(row).size(), c.button ? 1U : 0U);
    }
}

TEST(TransferRow, copesWithWhatTheServiceLeavesOutOrMakesUp) {
    EXPECT_EQ(transferTitle(transfer(1, "SEEDING")), "Unknown Transfer");
    EXPECT_EQ(transferDetail(transfer(1, "DOWNLOADING")), "0% · 0 bytes / 0 bytes");
    EXPECT_EQ(transferDetail(transfer(1, "SEEDING")), "0 bytes · Ratio: 0.00 · 0 peers");
    EXPECT_EQ(transferDetail(transfer(1, "ERROR")), "Transfer failed");
    Transfer silent = transfer(1, "ERROR");
    silent.errorMessage = "";
    EXPECT_EQ(transferDetail(silent), "Transfer failed");
    EXPECT_EQ(groupOf(transfer(1, std::nullopt)), TransferGroup::other);

    Transfer wild = transfer(1, "DOWNLOADING");
    wild.percentDone = 4'000;
    wild.downSpeed = BytesPerSecond(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(transferRow(wild).progress, 1.0);
    EXPECT_EQ(transferSummary({wild, wild}).back().text, formatRate(*wild.downSpeed));
}

TEST(TransferRow, standsInItsSection) {
    Transfer fast = transfer(6, "DOWNLOADING");
    fast.downSpeed = BytesPerSecond(2'000'000);
    fast.upSpeed = BytesPerSecond(1'000);
    const std::vector<Transfer> transfers{transfer(1, "COMPLETED"), transfer(2, "IN_QUEUE"), transfer(3, "STOPPING"),
                                          transfer(4, "ERROR"),     transfer(5, "ERROR"),    fast};
    std::string shown;
    for (const TransferRow& row : transferRows(transfers))
        shown += row.isHeader() ? row.title + ": " : row.id->text() + " ";
    EXPECT_EQ(shown, "Active: 2 6 Failed: 4 5 Completed: 1 ");

    std::string summary;
    for (const Label& part : transferSummary(transfers)) summary += std::string(part.symbol) + " " + part.text + ", ";
    EXPECT_EQ(summary,
              "arrow.down.circle.fill 2 active, xmark.circle.fill 2 failed, arrow.down 2 MB/s, arrow.up 1 KB/s, ");
}

}  // namespace
}  // namespace tovri
