#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <unordered_set>

#include <gtest/gtest.h>

#include "screens/downloads/QueueRows.h"
#include "support/PlainTextCollation.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using Kind = ScreenChange::Kind;

constexpr std::array sections{DownloadSection::active, DownloadSection::paused, DownloadSection::queued,
                              DownloadSection::finished};

// A view that only follows what it is told. What it shows is compared with the rows at every step, and with the queue
// whenever the rows have caught up. Every third one shows batches, and every second the finished in another order.
class FollowingView {
public:
    explicit FollowingView(std::uint32_t seed) : dice_(seed), showsBatches_(seed % 3 == 0) {
        if (seed % 2 == 0) order_ = RowOrder(allFinishedOrders[roll(allFinishedOrders.size())], collation_);
        rows_.arrange({showsBatches_, order_});
    }

    void step() {
        const ItemOrder& items = list_.items();
        const DownloadPointer item = items.empty() ? nullptr : list_.changeable(*items[roll(items.size())]);
        const std::size_t action = roll(12);
        if (action < 2) return insert(action == 0, 1 + (roll(4) == 0 ? roll(90) : 0));
        if (!item) return;
        if (action == 2) return static_cast<void>(list_.remove(*item));
        if (action == 3) return static_cast<void>(list_.moveUp(*item));
        if (action == 4) return static_cast<void>(list_.moveDown(*item));
        if (action == 5) return static_cast<void>(list_.moveToTop(*item));
        if (action == 6 && roll(20) == 0) return list_.removeFinished();
        if (action == 7) return progress(*item);
        if (action == 8) return openOrClose(roll(rows_.count() + 1));
        list_.take(*item, static_cast<StatusStep>(roll(statusStepCount)));
    }

    void catchUp() {
        loop_.runUntilIdle();
        rows_.tellLooks();
        std::vector<std::string> expected;
        for (const auto section : sections) expectRows(section, expected);
        ASSERT_EQ(shown_, expected);
        if (!list_.items().empty()) {
            const ConstDownloadPointer& item = list_.items()[roll(list_.items().size())];
            const std::size_t row = rows_.rowOf(item->id).value();
            const auto [shown, batch] = rows_.at(row);
            ASSERT_TRUE(shown ? shown == item.get() : batch->id == item->batchID);
        }
    }

    std::size_t resets = 0;
    std::size_t moves = 0;

private:
    std::size_t roll(std::size_t sides) { return dice_() % sides; }

    void insert(bool onTop, std::size_t count) {
        std::vector<DownloadPointer> items(count);
        for (DownloadPointer& item : items) {
            DownloadRecord record;
            record.id.bytes[0] = static_cast<std::uint8_t>(++made_);
            record.id.bytes[1] = static_cast<std::uint8_t>(made_ >> 8);
            record.fileName = std::to_string(made_);
            record.fileSize = static_cast<ByteCount>(roll(5));
            if (const std::size_t batch = roll(6); batch > 2) record.batchID.emplace().bytes[9] = batch & 0xFF;
            if (roll(2) == 0) record.completedAt = Timestamp(std::chrono::seconds(roll(9)));
            record.status = static_cast<DownloadStatus>(roll(downloadStatusCount));
            item = std::make_shared<Download>(std::move(record));
        }
        if (onTop)
            list_.insertOnTop(std::move(items));
        else
            list_.append(std::move(items));
    }

    void progress(Download& item) {
        item.bytesDownloaded += static_cast<ByteCount>(roll(9));
        rows_.markLook(list_.find(item.id));
    }

    void openOrClose(std::size_t row) {
        if (row >= rows_.count() || !rows_.batchAt(row)) return;
        const UUID id = rows_.batchAt(row)->id;
        const bool isOpen = !rows_.batchAt(row)->isOpen;
        const auto section = static_cast<std::size_t>(rows_.placeAt(row).section);
        rows_.setOpen(row, isOpen);
        isOpen ? void(open_[section].insert(id)) : void(open_[section].erase(id));
    }

    // As they should be, found by looking at all items anew.
    void expectRows(DownloadSection section, std::vector<std::string>& expected) const {
        const RowOrder order = section == DownloadSection::finished ? order_ : RowOrder();
        std::vector<RowPlace> places;
        for (const ConstDownloadPointer& item : list_.items())
            if (downloadSection(item->status) == section) places.push_back(order.placeOf(item));
        if (places.empty()) return;
        std::ranges::sort(places, [&](const auto& one, const auto& other) { return order.isBefore(one, other); });
        expected.push_back("#" + std::to_string(static_cast<int>(section)) +
                           (section == DownloadSection::queued ? ":" + std::to_string(places.size()) : ""));
        std::unordered_set<UUID> seen;
        for (const RowPlace& place : places) {
            const std::optional<UUID> id = showsBatches_ ? place.item->batchID : std::nullopt;
            if (!id) expected.push_back(lookOf(*place.item));
            if (!id || !seen.insert(*id).second) continue;
            std::vector<std::string> members;
            ByteCount bytes = 0;
            for (const RowPlace& each : places)
                if (each.item->batchID == id) {
                    members.push_back(lookOf(*each.item));
                    bytes += each.item->bytesDownloaded;
                }
            expected.push_back(members.front().substr(0, members.front().find_first_of("abcdefghijklmnopqrstuvwxyz")) +
                               "+" + std::to_string(members.size() - 1) + ":" + std::to_string(bytes));
            if (open_[static_cast<std::size_t>(section)].contains(*id))
                std::ranges::move(members, std::back_inserter(expected));
        }
    }

    static std::string lookOf(const Download& item) { return item.fileName + std::string(rawValue(item.status)); }

    static std::string lookOf(const Batch& batch) {
        if (!batch.firstItem()) return "+";
        return batch.firstItem()->fileName + "+" + std::to_string(batch.members.size() - 1) + ":" +
               std::to_string(batch.sums.bytes);
    }

    [[nodiscard]] std::string look(std::size_t row) const {
        if (const Download* item = rows_.itemAt(row)) return lookOf(*item);
        if (const Batch* batch = rows_.batchAt(row)) return lookOf(*batch);
        const DownloadSection section = rows_.placeAt(row).section;
        return "#" + std::to_string(static_cast<int>(section)) +
               (section == DownloadSection::queued ? ":" + std::to_string(rows_.count(section)) : "");
    }

    void follow(const ScreenChange& change) {
        const auto at = [this](std::size_t row) { return shown_.begin() + static_cast<std::ptrdiff_t>(row); };
        if (change.kind == Kind::reset) {
            ++resets;
            shown_.clear();
            for (std::size_t row = 0; row < rows_.count(); ++row) shown_.push_back(look(row));
        } else if (change.kind == Kind::inserted) {
            for (std::size_t i = change.first; i < change.first + change.count; ++i) shown_.insert(at(i), look(i));
        } else if (change.kind == Kind::removed) {
            shown_.erase(at(change.first), at(change.first + change.count));
        } else if (change.kind == Kind::moved) {
            ++moves;
            const std::vector<std::string> rows(at(change.first), at(change.first + change.count));
            shown_.erase(at(change.first), at(change.first + change.count));
            shown_.insert(at(change.to), rows.begin(), rows.end());
        } else {
            for (std::size_t i = change.first; i < change.first + change.count; ++i) shown_[i] = look(i);
        }
        ASSERT_EQ(shown_.size(), rows_.count());
        if (shown_.size() < 30) expectSameItems();
    }

    // The looks may be older than the items.
    void expectSameItems() const {
        for (std::size_t row = 0; row < shown_.size(); ++row) {
            const Download* item = rows_.itemAt(row);
            const char* other = rows_.batchAt(row) ? "+" : "#";
            ASSERT_TRUE(item ? shown_[row].starts_with(item->fileName) : shown_[row].contains(other));
        }
    }

    std::mt19937 dice_;
    PlainTextCollation collation_;
    bool showsBatches_;
    RowOrder order_;
    std::array<std::unordered_set<UUID>, downloadSectionCount> open_;
    std::size_t made_ = 0;
    VirtualLoop loop_;
    DownloadList list_;
    std::vector<std::string> shown_;
    QueueRows rows_{list_, loop_, [this](const ScreenChange& change) { follow(change); }, [] {}};
    Subscription following_{list_.onChange([this](const QueueChange& change) { rows_.follow(change); })};
};

TEST(QueueRows, leadAViewStepByStepToWhatTheQueueHolds) {
    std::size_t resets = 0;
    std::size_t moves = 0;
    for (std::uint32_t seed = 1; seed <= 200 && !testing::Test::HasFatalFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        FollowingView view(seed);
        const int changesInATurn = 1 + static_cast<int>(seed % 12);
        for (int step = 1; step <= 240 && !testing::Test::HasFatalFailure(); ++step) {
            view.step();
            if (step % changesInATurn == 0) view.catchUp();
        }
        resets += view.resets;
        moves += view.moves;
    }
    EXPECT_GT(resets, 100U);  // both ways were taken
    EXPECT_GT(moves, 1000U);
}

// A reset costs the view its selection and scroll position: changes of a few rows never come to one.
TEST(QueueRows, tellAFewChangesAsSteps) {
    VirtualLoop loop;
    DownloadList list;
    std::vector<DownloadPointer> items(100);
    for (DownloadPointer& item : items) item = std::make_shared<Download>(DownloadRecord{});
    list.append(items);
    std::vector<ScreenChange> told;
    QueueRows rows(list, loop, [&](const ScreenChange& change) { told.push_back(change); }, [] {});
    const Subscription following = list.onChange([&](const QueueChange& change) { rows.follow(change); });

    list.moveUp(*items[5]);
    loop.runUntilIdle();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].kind, Kind::moved);
    EXPECT_EQ(std::minmax(told[0].first, told[0].to), std::minmax<std::size_t>(5, 6));  // behind the header

    told.clear();
    list.take(*items[0], StatusStep::start);
    list.take(*items[0], StatusStep::complete);  // only where it ended is told
    loop.runUntilIdle();
    const std::vector<ScreenChange> expected = {{Kind::inserted, 100 + 1, 1},  // "Finished"
                                                {Kind::moved, 1, 1, 100 + 1},  //
                                                {Kind::changed, 0, 1},         // "Queued — 99 waiting"
                                                {Kind::changed, 100 + 1, 1}};  //
    EXPECT_EQ(told, expected);
}

}  // namespace
}  // namespace tovri::test
