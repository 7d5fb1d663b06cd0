#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "screens/downloads/DownloadRow.h"

namespace tovri {
namespace {

using Status = DownloadStatus;
using namespace std::chrono_literals;

constexpr Timestamp now{std::chrono::days(20'000)};

Download sample(Status status) {
    Download item{DownloadRecord{}};
    item.fileName = "Film.mkv";
    item.status = status;
    item.fileSize = 2'000'000;
    item.bytesDownloaded = 1'200'000;
    item.progress = 0.609;
    return item;
}

std::string symbolText(const DownloadRow::Symbol& symbol) {
    static constexpr const char* tints[] = {"primary", "secondary", "tertiary", "accent",
                                            "success", "attention", "failure"};
    return std::string(symbol.name) + " " + tints[static_cast<std::size_t>(symbol.tint)] +
           (symbol.pulses ? " pulses" : "");
}

std::string buttonText(const DownloadRow& row) {
    std::string text;
    for (const auto& button : row.buttons) text += "[" + std::string(button.symbol) + " " + button.help + "]";
    return text;
}

std::string menuText(Status status) {
    std::string text;
    for (const auto& item : downloadMenu(status)) text += (item.isSeparator() ? "-" : item.title) + "|";
    return text;
}

TEST(DownloadRow, saysWhatAHeldOneWaitsForAndOffersItsFolderAnyway) {
    Download item = sample(Status::queued);
    item.hold = std::make_shared<const Hold>(Hold{.reason = Hold::Reason::room, .text = "Waiting for 2 MB on Archive"});
    EXPECT_EQ(downloadRow(item, now).statusText(), "Waiting for 2 MB on Archive");
    EXPECT_FALSE(isOffered(DownloadAction::useFolderAnyway, item));
    EXPECT_EQ(downloadMenu(item).size(), downloadMenu(Status::queued).size());
    item.hold = std::make_shared<const Hold>(Hold{.reason = Hold::Reason::volume, .text = "Waiting for Archive"});
    EXPECT_TRUE(isOffered(DownloadAction::useFolderAnyway, item));
    EXPECT_EQ(downloadMenu(item).front().title, "Use This Folder Anyway");
}

TEST(DownloadRow, saysForHowLongItStillWaits) {
    Hold hold{.reason = Hold::Reason::service, .text = "Waiting for put.io: HTTP error 503", .until = now + 11500ms};
    Download item = sample(Status::downloading);
    item.hold = std::make_shared<const Hold>(hold);
    EXPECT_EQ(downloadRow(item, now).statusText(), "1.2 MB / 2 MB · Waiting for put.io: HTTP error 503, again in 12s");
    item = sample(Status::queued);
    hold.until = now + 5min;
    item.hold = std::make_shared<const Hold>(hold);
    EXPECT_EQ(downloadRow(item, now).statusText(), "Waiting for put.io: HTTP error 503, again in 5m 0s");
    EXPECT_EQ(downloadRow(item, now + 5min).statusText(), "Waiting for put.io: HTTP error 503");
}

TEST(DownloadRow, looksAsItsStatusSays) {
    struct Case {
        Status status;
        const char* symbol;
        const char* text;
        Tint lastTint;
        const char* buttons;
        const char* menu;
    };

    const Case cases[] = {
        {Status::queued, "clock secondary", "Queued · 2 MB", Tint::secondary,
         "[arrow.up.to.line Move to top of queue][xmark Cancel]", "Move to Top|Move Up|Move Down|-|Cancel|-|Remove|"},
        {Status::downloading, "arrow.down.circle.fill accent pulses", "1.2 MB / 2 MB", Tint::secondary,
         "[pause.fill Pause][xmark Cancel]", "Pause|Cancel|-|Remove|"},
        {Status::awaitingConflict, "exclamationmark.triangle.fill attention", "Waiting — file already exists",
         Tint::attention, "[xmark Cancel]", "Cancel|-|Remove|"},
        {Status::paused, "pause.circle.fill attention", "1.2 MB / 2 MB · Paused 60%", Tint::attention,
         "[play.fill Resume][xmark Cancel]", "Resume|Cancel|-|Remove|"},
        {Status::completed, "checkmark.circle.fill success", "1.2 MB", Tint::secondary, "[folder Show in Folder]",
         "Show in Folder|Open|-|Remove|"},
        {Status::failed, "xmark.circle.fill failure", "Download failed", Tint::failure,
         "[arrow.clockwise Retry][xmark Remove]", "Retry|-|Remove|"},
        {Status::cancelled, "minus.circle.fill secondary", "Cancelled", Tint::secondary, "", "Retry|-|Remove|"},
        {Status::skipped, "forward.circle.fill secondary", "Skipped", Tint::secondary,
         "[arrow.clockwise Retry][xmark Remove]", "Retry|-|Remove|"},
        {Status::deleting, " secondary", "Removing from put.io...", Tint::secondary, "", "-|Remove|"},
        {Status::remoteDeleteFailed, "trash.slash.fill attention", "Downloaded — couldn't delete from put.io",
         Tint::attention, "[arrow.clockwise Retry deleting from put.io][folder Show in Folder]",
         "Retry Delete from put.io|Show in Folder|Open|-|Remove|"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const DownloadRow row = downloadRow(sample(c.status), now);
        EXPECT_EQ(symbolText(row.symbol), c.symbol);
        EXPECT_EQ(row.statusText(), c.text);
        EXPECT_EQ(row.status.back().tint, c.lastTint);
        EXPECT_EQ(buttonText(row), c.buttons);
        EXPECT_EQ(menuText(c.status), c.menu);
        EXPECT_TRUE(downloadMenu(c.status).back().isDestructive);
        EXPECT_EQ(row.progress.has_value(), c.status == Status::downloading || c.status == Status::paused);
    }
}

TEST(DownloadRow, saysOnlyWhatIsKnown) {
    Download item = sample(Status::downloading);
    item.speed = BytesPerSecond(100'000);
    EXPECT_EQ(downloadRow(item, now).statusText(), "1.2 MB / 2 MB · 100 KB/s · 8s left");
    item.fileSize = 0;
    EXPECT_EQ(downloadRow(item, now).statusText(), "1.2 MB / 0 bytes · 100 KB/s");
    item.progress = 1.5;  // more came than was announced
    EXPECT_EQ(downloadRow(item, now).progress->fraction, 1.0);
    item.status = Status::queued;
    EXPECT_EQ(downloadRow(item, now).statusText(), "Queued");
    item.status = Status::failed;
    item.error = "No space left.";
    EXPECT_EQ(downloadRow(item, now).statusText(), "No space left.");
    item = sample(Status::completed);
    item.completedAt = now - 5min;
    EXPECT_EQ(downloadRow(item, now).statusText(), "1.2 MB · 5 min ago");
    item.status = Status::queued;
    item.listedSize = 3'000'000;
    EXPECT_EQ(downloadRow(item, now).statusText(), "Queued · 3 MB") << "as put.io said last";
}

TEST(DownloadRow, tellsHowWhatHasArrivedWasProven) {
    Download item = sample(Status::completed);
    item.bytesDownloaded = item.fileSize;
    EXPECT_EQ(downloadRow(item, now).details,
              "2,000,000 bytes, proven by the size that put.io says; it gave no checksum.");
    item.crc32 = "BF4";
    item.arrivedChecksum = "00000bf4";
    EXPECT_EQ(downloadRow(item, now).details, "2,000,000 bytes, proven by put.io's checksum.");
    item.crc32.reset();
    item.fileSize = 0;
    EXPECT_EQ(downloadRow(item, now).details, "2,000,000 bytes. put.io gave nothing to prove them by.");
    item.status = Status::downloading;
    EXPECT_EQ(downloadRow(item, now).details, "");
    item.status = Status::remoteDeleteFailed;
    item.error = "HTTP error 500 from put.io.";
    EXPECT_EQ(downloadRow(item, now).details, "2,000,000 bytes. HTTP error 500 from put.io.");
}

TEST(DownloadRow, isOrangeWhereTheFileIsNotWhatPutIOHas) {
    Download item = sample(Status::completed);
    item.error = "Arrived, but differs.";
    const DownloadRow row = downloadRow(item, now);
    EXPECT_EQ(symbolText(row.symbol), "exclamationmark.triangle.fill attention");
    EXPECT_EQ(row.statusText(), "1.2 MB · Arrived, but differs.");
    EXPECT_EQ(row.status.back().tint, Tint::attention);
    EXPECT_EQ(buttonText(row), "[arrow.clockwise Retry][folder Show in Folder]");
    EXPECT_EQ(downloadMenu(item).front().action, DownloadAction::retry);
    EXPECT_TRUE(isOffered(DownloadAction::retry, item));
    item.error.reset();
    EXPECT_FALSE(isOffered(DownloadAction::retry, item));
}

}  // namespace
}  // namespace tovri
