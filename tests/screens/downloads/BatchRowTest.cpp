#include <initializer_list>

#include <gtest/gtest.h>

#include "screens/downloads/BatchRow.h"

namespace tovri::test {
namespace {

using Status = DownloadStatus;

struct Part {
    Status status = Status::queued;
    ByteCount bytes = 0;
    std::int64_t speed = 0;
};

// Of files of 1,000 bytes.
Batch batchOf(std::initializer_list<Part> parts) {
    Batch batch;
    std::vector<Batch::Member> members;
    for (const Part& part : parts) {
        DownloadRecord record;
        record.fileName = "film " + std::to_string(members.size() + 1);
        record.fileSize = 1000;
        record.bytesDownloaded = part.bytes;
        record.status = part.status;
        auto item = std::make_shared<Download>(std::move(record));
        item->speed = BytesPerSecond(part.speed);
        item->position = static_cast<std::int64_t>(members.size());
        const BatchSums::Share share = shareOf(*item);
        batch.sums.add(share);
        members.push_back({RowOrder().placeOf(std::move(item)), share});
    }
    batch.members.assign(std::move(members));
    return batch;
}

// "film 1 and 2 more | Queued · 3 KB [Cancel]"
std::string lookOf(const Batch& batch) {
    const DownloadRow row = batchRow(batch, {});
    std::string text = row.title + " | " + row.statusText();
    for (const auto& button : row.buttons) text += " [" + button.help + "]";
    return text;
}

TEST(BatchRow, saysWhatItsItemsHaveInSum) {
    EXPECT_EQ(lookOf(batchOf({{Status::queued}, {Status::queued}, {Status::queued}})),
              "film 1 and 2 more | Queued · 3 KB [Move to top of queue] [Cancel]");
    EXPECT_EQ(lookOf(batchOf({{Status::queued}})), "film 1 | Queued · 1 KB [Move to top of queue] [Cancel]");
    EXPECT_EQ(
        lookOf(batchOf({{Status::downloading, 300, 100}, {Status::awaitingConflict, 1000}, {Status::deleting, 1000}})),
        "film 1 and 2 more | 2 KB / 3 KB · 100 bytes/s · 7s left · 1 waiting for an answer · "
        "1 being removed from put.io [Pause] [Cancel]");
    EXPECT_EQ(lookOf(batchOf({{Status::paused, 500}, {Status::paused}})),
              "film 1 and 1 more | 500 bytes / 2 KB · Paused 25% [Resume] [Cancel]");
    EXPECT_EQ(lookOf(batchOf({{Status::completed, 1000}, {Status::completed, 1000}})),
              "film 1 and 1 more | 2 completed · 2 KB");
    // Each of its buttons is for those that have it.
    EXPECT_EQ(lookOf(batchOf({{Status::completed, 1000}, {Status::failed}, {Status::remoteDeleteFailed, 1000}})),
              "film 1 and 2 more | 1 failed · 1 not deleted from put.io · 1 completed · 3 KB "
              "[Retry] [Remove] [Retry deleting from put.io]");
    EXPECT_EQ(batchRow(batchOf({{Status::completed}, {Status::failed}}), {}).symbol.tint, Tint::failure);
}

// An item may be on its way out of it.
TEST(BatchRow, canBeReadWhileItIsEmpty) {
    EXPECT_EQ(lookOf(Batch()), " | ");
    EXPECT_FALSE(hasProgressBar(Batch()));
}

}  // namespace
}  // namespace tovri::test
