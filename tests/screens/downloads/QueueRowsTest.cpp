#include <algorithm>
#include <array>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "screens/downloads/QueueRows.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using Kind = ScreenChange::Kind;

// A view that only follows what it is told. What it shows is compared with the rows at every step, and with the queue
// whenever the rows have caught up.
class FollowingView {
public:
    explicit FollowingView(std::uint32_t seed) : dice_(seed) {}

    void step() {
        const ItemOrder& items = list_.items();
        const DownloadPointer item = items.empty() ? nullptr : list_.changeable(*items[roll(items.size())]);
        const std::size_t action = roll(10);
        if (action < 2) return insert(action == 0, 1 + (roll(4) == 0 ? roll(90) : 0));
        if (!item) return;
        if (action == 2) return static_cast<void>(list_.remove(*item));
        if (action == 3) return static_cast<void>(list_.moveUp(*item));
        if (action == 4) return static_cast<void>(list_.moveDown(*item));
        if (action == 5) return static_cast<void>(list_.moveToTop(*item));
        if (action == 6 && roll(20) == 0) return list_.removeFinished();
        if (action == 7) return rows_.markLook(item);
        list_.take(*item, static_cast<StatusStep>(roll(statusStepCount)));
    }

    void catchUp() {
        loop_.runUntilIdle();
        std::vector<std::string> expected;
        for (const auto section :
             {DownloadSection::active, DownloadSection::paused, DownloadSection::queued, DownloadSection::finished}) {
            std::vector<std::string> names;
            for (const ConstDownloadPointer& item : list_.items())
                if (downloadSection(item->status) == section) names.push_back(lookOf(*item));
            if (names.empty()) continue;
            expected.push_back("#" + std::to_string(static_cast<int>(section)) +
                               (section == DownloadSection::queued ? ":" + std::to_string(names.size()) : ""));
            std::ranges::move(names, std::back_inserter(expected));
        }
        ASSERT_EQ(shown_, expected);
        if (!list_.items().empty()) {
            const ConstDownloadPointer& item = list_.items()[roll(list_.items().size())];
            ASSERT_EQ(rows_.itemAt(rows_.rowOf(item->id).value()), item.get());
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
            record.status = static_cast<DownloadStatus>(roll(downloadStatusCount));
            item = std::make_shared<Download>(std::move(record));
        }
        if (onTop)
            list_.insertOnTop(std::move(items));
        else
            list_.append(std::move(items));
    }

    static std::string lookOf(const Download& item) { return item.fileName + std::string(rawValue(item.status)); }

    [[nodiscard]] std::string look(std::size_t row) const {
        if (const Download* item = rows_.itemAt(row)) return lookOf(*item);
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
            std::string row = shown_[change.first];
            shown_.erase(at(change.first));
            shown_.insert(at(change.to), std::move(row));
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
            ASSERT_TRUE(item ? shown_[row].starts_with(item->fileName) : shown_[row].starts_with("#"));
        }
    }

    std::mt19937 dice_;
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
