#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "downloads/deleting/FolderGroups.h"

namespace tovri {
namespace {

// The list's index and the groups' counts are kept up bit by bit; here they are compared with what a look at every item
// says.
class ListComparison {
public:
    explicit ListComparison(std::uint32_t seed) : dice_(seed) { groups_[1].bytes[0] = 1; }

    void step() {
        const DownloadPointer item = naive_.empty() ? nullptr : naive_[roll(naive_.size())];
        const std::size_t action = roll(11);
        if (action < 2) return insert(action == 0);
        if (!item) return;
        const auto at = std::ranges::find(naive_, item) - naive_.begin();
        const auto last = std::ssize(naive_) - 1;
        if (action == 2) {
            list_.remove(*item);
            naive_.erase(naive_.begin() + at);
            gone_.push_back(item);
        } else if (action == 3) {
            EXPECT_EQ(list_.moveUp(*item), at > 0);
            if (at > 0) std::swap(naive_[static_cast<std::size_t>(at)], naive_[static_cast<std::size_t>(at - 1)]);
        } else if (action == 4) {
            EXPECT_EQ(list_.moveDown(*item), at < last);
            if (at < last) std::swap(naive_[static_cast<std::size_t>(at)], naive_[static_cast<std::size_t>(at + 1)]);
        } else if (action == 5) {
            EXPECT_EQ(list_.moveToTop(*item), at > 0);
            std::rotate(naive_.begin(), naive_.begin() + at, naive_.begin() + at + 1);
        } else if (action == 6 && roll(10) == 0) {
            list_.removeFinished();
            std::erase_if(naive_, [](const DownloadPointer& each) { return isFinished(each->status); });
        } else if (action == 7) {
            groupCounts_.expect(groups_[roll(2)], static_cast<std::int64_t>(roll(4)));
        } else if (action == 8) {
            const bool canWait = item->status == DownloadStatus::queued || item->status == DownloadStatus::downloading;
            if (canWait) list_.hold(*item, std::make_shared<const Hold>(Hold{.what = roll(2) == 0 ? "a" : "b"}));
        } else if (action == 9) {
            list_.release(*item);
        } else {
            list_.take(*item, static_cast<StatusStep>(roll(statusStepCount)));
        }
    }

    void check() {
        ASSERT_TRUE(std::ranges::equal(list_.items(), naive_));
        for (std::size_t i = 0; i < downloadStatusCount; ++i) {
            const auto status = static_cast<DownloadStatus>(i);
            std::vector<DownloadPointer> expected;
            std::ranges::copy_if(naive_, std::back_inserter(expected),
                                 [status](const DownloadPointer& item) { return item->status == status; });
            ASSERT_EQ(list_.withStatus(status), expected);
        }
        checkHolds();
        for (const DownloadPointer& item : naive_) ASSERT_EQ(list_.find(item->id), item);
        for (const DownloadPointer& item : gone_) ASSERT_EQ(list_.find(item->id), nullptr);
        for (const UUID& rule : groups_) {
            for (const FileID fileID : {FileID(0), FileID(1), FileID(2)}) {
                const auto isItsFile = [&](const ConstDownloadPointer& item) {
                    return item->syncRuleID == rule && item->fileID == fileID;
                };
                auto found = list_.ofRule(rule, fileID);
                ASSERT_TRUE(std::ranges::all_of(found, isItsFile));
                ASSERT_EQ(std::ssize(found), std::ranges::count_if(naive_, isItsFile));
            }
        }
        for (const UUID& group : groups_) ASSERT_EQ(groupCounts_.verdict(group), verdict(group));
    }

private:
    std::size_t roll(std::size_t sides) { return dice_() % sides; }

    void checkHolds() {
        const auto those = [this](const auto& condition) {
            std::vector<DownloadPointer> found;
            std::ranges::copy_if(naive_, std::back_inserter(found), condition);
            return found;
        };
        const auto candidates =
            those([](const DownloadPointer& item) { return item->status == DownloadStatus::queued && !item->hold; });
        ASSERT_EQ(list_.nextCandidate(), candidates.empty() ? nullptr : candidates.front());
        std::size_t held = 0;
        for (const std::string& what : list_.holds()) {
            const auto expected = those([&](const DownloadPointer& item) {
                return item->status == DownloadStatus::queued && item->hold && item->hold->what == what;
            });
            ASSERT_EQ(list_.heldFor(what, [](const Download&) { return true; }), expected);
            ASSERT_FALSE(expected.empty());
            held += expected.size();
        }
        ASSERT_EQ(list_.heldCount(), held);
        ASSERT_EQ(std::ranges::count_if(naive_, [](const DownloadPointer& item) { return item->hold != nullptr; }),
                  static_cast<std::ptrdiff_t>(held));
    }

    void insert(bool onTop) {
        std::vector<DownloadPointer> items(1 + roll(3));
        for (DownloadPointer& item : items) {
            item = std::make_shared<Download>(DownloadRecord{});
            item->status = static_cast<DownloadStatus>(roll(downloadStatusCount));
            item->id.bytes[0] = static_cast<std::uint8_t>(++lastID_);
            item->id.bytes[8] = static_cast<std::uint8_t>(lastID_ / 256);
            item->fileID = FileID(static_cast<std::int64_t>(roll(3)));
            if (roll(3) > 0) item->syncRuleID = groups_[roll(2)];
            if (roll(3) > 0) item->folderGroupID = groups_[roll(2)];
        }
        naive_.insert(onTop ? naive_.begin() : naive_.end(), items.begin(), items.end());
        if (onTop)
            list_.insertOnTop(std::move(items));
        else
            list_.append(std::move(items));
    }

    [[nodiscard]] FolderGroups::Verdict verdict(const UUID& group) const {
        const auto counts = groupCounts_.expectedCounts();
        const auto expected = counts.find(group.text());
        std::int64_t members = 0;
        std::int64_t completed = 0;
        std::int64_t finished = 0;
        for (const DownloadPointer& item : naive_) {
            if (item->folderGroupID != group) continue;
            ++members;
            if (item->status == DownloadStatus::completed) ++completed;
            if (isFinished(item->status)) ++finished;
        }
        if (members == 0 || expected == counts.end()) return FolderGroups::Verdict::wait;
        if (completed == expected->second && completed >= 1) return FolderGroups::Verdict::complete;
        return members == expected->second && finished == members ? FolderGroups::Verdict::givenUp
                                                                  : FolderGroups::Verdict::wait;
    }

    std::mt19937 dice_;
    std::array<UUID, 2> groups_;
    std::vector<DownloadPointer> naive_;
    std::vector<DownloadPointer> gone_;
    int lastID_ = 0;
    DownloadList list_;
    FolderGroups groupCounts_{list_};
};

TEST(DownloadList, andItsFolderGroupsAgreeWithALookAtEveryItem) {
    for (std::uint32_t seed = 1; seed <= 50; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ListComparison comparison(seed);
        for (int step = 0; step < 200 && !testing::Test::HasFatalFailure(); ++step) {
            comparison.step();
            comparison.check();
        }
    }
}

TEST(Download, showsTimeAndShare) {
    struct Case {
        ByteCount received;
        std::int64_t speed;
        const char* percent;
        const char* left;
    };

    const Case cases[] = {
        {999, 1, "99%", "1s left"},      // truncated, not rounded
        {0, 0, "0%", ""},                // no rate yet
        {1000, 5, "100%", ""},           // nothing left
        {0, 17, "0%", "58s left"},       //
        {0, 16, "0%", "1m 2s left"},     //
        {400, 1, "40%", "10m 0s left"},  //
    };
    for (const Case& c : cases) {
        Download item{DownloadRecord{}};
        item.status = DownloadStatus::downloading;
        item.fileSize = 1000;
        item.bytesDownloaded = c.received;
        item.progress = static_cast<double>(c.received) / 1000;
        item.speed = BytesPerSecond(c.speed);
        EXPECT_EQ(item.percentText(), c.percent);
        EXPECT_EQ(item.etaText(), c.left);
        item.fileSize = 0;  // unknown
        EXPECT_EQ(item.etaText(), "");
    }
    EXPECT_EQ(durationText(3599.9), "59m 59s");
    EXPECT_EQ(durationText(7384), "2h 3m");
}

}  // namespace
}  // namespace tovri
