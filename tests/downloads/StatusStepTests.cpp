// What must hold of the table as a whole, whatever its rows are.
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/list/DownloadList.h"

namespace tovri {
namespace {

using enum DownloadStatus;
using Steps = std::set<StatusStep>;
using Statuses = std::set<DownloadStatus>;

std::vector<StatusStep> allSteps() {
    std::vector<StatusStep> steps;
    for (std::size_t i = 0; i < statusStepCount; ++i) steps.push_back(static_cast<StatusStep>(i));
    return steps;
}

std::vector<DownloadStatus> allStatuses() {
    std::vector<DownloadStatus> statuses;
    for (std::size_t i = 0; i < downloadStatusCount; ++i) statuses.push_back(static_cast<DownloadStatus>(i));
    return statuses;
}

// Where a download that begins in `from` can come to without any of these steps.
Statuses reach(DownloadStatus from, const Steps& without) {
    Statuses found = {from};
    std::vector<DownloadStatus> open = {from};
    while (!open.empty()) {
        const DownloadStatus status = open.back();
        open.pop_back();
        for (const StatusStep step : allSteps()) {
            const auto next = without.contains(step) ? std::nullopt : target(step, status);
            if (next && found.insert(*next).second) open.push_back(*next);
        }
    }
    return found;
}

const Steps byUser = {StatusStep::cancel, StatusStep::retry, StatusStep::takeBack, StatusStep::takeBackPaused,
                      StatusStep::takeBackAsking};

TEST(StatusStep, leavesNoDownloadWithoutAWayToItsEnd) {
    for (const DownloadStatus status : allStatuses())
        if (!isFinished(status)) EXPECT_TRUE(reach(status, byUser).contains(completed)) << rawValue(status);
}

TEST(StatusStep, bringsNoneBackThatTheUserHasDoneWith) {
    for (const DownloadStatus status : {cancelled, skipped, failed})
        EXPECT_EQ(reach(status, byUser), Statuses{status}) << rawValue(status);
}

// Nothing is deleted from put.io that has not arrived since it was last asked for.
TEST(StatusStep, deletesNothingThatHasNotArrived) {
    for (const DownloadStatus status : allStatuses()) {
        const bool hasArrived = status == completed || status == deleting || status == remoteDeleteFailed;
        EXPECT_EQ(reach(status, {StatusStep::complete}).contains(deleting), hasArrived) << rawValue(status);
    }
    for (const StatusStep step : {StatusStep::cancel, StatusStep::retry}) {
        for (const DownloadStatus status : {completed, deleting, remoteDeleteFailed}) {
            const auto next = target(step, status);
            ASSERT_TRUE(next) << rawValue(status);
            EXPECT_FALSE(reach(*next, {StatusStep::complete}).contains(deleting)) << rawValue(status);
        }
    }
}

// Whatever a dead process was at, the next one has a step to where it can wait.
TEST(StatusStep, restoresWhatWasUnderWay) {
    const auto isUnderWay = [](DownloadStatus status) { return occupiesSlot(status) || status == deleting; };
    for (const bool isQueuePaused : {false, true}) {
        const StatusStep restore = isQueuePaused ? StatusStep::restorePaused : StatusStep::restore;
        for (const DownloadStatus status : allStatuses()) {
            const bool mustChange = isUnderWay(status) || (isQueuePaused && status == queued);
            const auto next = target(status == deleting ? StatusStep::restoreDeletion : restore, status);
            EXPECT_EQ(next.has_value(), mustChange) << rawValue(status);
            if (next) EXPECT_FALSE(isUnderWay(*next) || (isQueuePaused && *next == queued)) << rawValue(status);
        }
    }
}

TEST(StatusStep, isRefusedAndToldWhereTheTableHasNone) {
    DownloadRecord record;
    record.status = skipped;
    const auto item = std::make_shared<Download>(record);
    DownloadList list;
    list.append({item});
    std::vector<std::string> faults;
    int changes = 0;
    list.onForbiddenStep([&](const std::string& fault) { faults.push_back(fault); });
    const Subscription following = list.onChange([&](const QueueChange&) { ++changes; });
    list.take(*item, StatusStep::complete);
    EXPECT_THAT(faults, testing::ElementsAre("No step \"complete\" leads on from skipped"));
    EXPECT_EQ(item->status, skipped);
    EXPECT_EQ(list.count(skipped), 1U);
    EXPECT_EQ(changes, 0);
}

}  // namespace
}  // namespace tovri
