#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/commands/ItemSelection.h"
#include "cli/commands/QueueEditing.h"
#include "cli/commands/RemoteTree.h"
#include "cli/display/QueueListing.h"
#include "cli/running/ConflictPrompt.h"

namespace tovri::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using enum DownloadStatus;

constexpr Timestamp now{std::chrono::hours(1'000'000)};

UUID idOf(int number) {
    UUID id;
    id.bytes[0] = static_cast<std::uint8_t>(number);
    return id;
}

DownloadRecord item(int number, DownloadStatus status) {
    DownloadRecord record;
    record.id = idOf(number);
    record.fileName = "file " + std::to_string(number);
    record.fileSize = 1'200'000;
    record.destinationFolder = std::make_shared<const std::filesystem::path>("/home/ann");
    record.status = status;
    return record;
}

// One item of each status, numbered from 1 on in the order of the cases.
QueueSnapshot oneOfEach() {
    QueueSnapshot queue;
    for (int i = 0; i < static_cast<int>(downloadStatusCount); ++i)
        queue.downloads.push_back(item(i + 1, static_cast<DownloadStatus>(i)));
    return queue;
}

std::vector<DownloadStatus> statusesOf(const QueueSnapshot& queue) {
    std::vector<DownloadStatus> statuses;
    for (const DownloadRecord& record : queue.downloads) statuses.push_back(record.status);
    return statuses;
}

std::vector<UUID> allOf(const QueueSnapshot& queue) {
    std::vector<UUID> ids;
    for (const DownloadRecord& record : queue.downloads) ids.push_back(record.id);
    return ids;
}

TEST(ItemSelection, takesUnambiguousBeginnings) {
    const std::vector<UUID> ids{*UUID::parse("1A2B3C4D-0000-0000-0000-000000000001"),
                                *UUID::parse("1A2B3C4D-0000-0000-0000-000000000002"),
                                *UUID::parse("FFFFFFFF-0000-0000-0000-000000000003")};
    EXPECT_THAT(*selectItems({"ff", "1a2b3c4d-0000-0000-0000-000000000001", "FFFF"}, ids), ElementsAre(ids[2], ids[0]));
    EXPECT_THAT(selectItems({"1A2B"}, ids).error().description, HasSubstr("beginning of 2 IDs"));
    EXPECT_THAT(selectItems({"ff", "2"}, ids).error().description, HasSubstr("begins with \"2\""));
    EXPECT_FALSE(selectItems({""}, ids)) << "nothing is not the beginning of everything";
}

TEST(QueueEditing, changesOnlyWhatIsInAStateForIt) {
    QueueSnapshot queue = oneOfEach();
    EXPECT_EQ(pauseItems(queue, allOf(queue)), 2U);
    EXPECT_THAT(statusesOf(queue), ElementsAre(paused, paused, awaitingConflict, paused, completed, failed, cancelled,
                                               skipped, deleting, remoteDeleteFailed));
    EXPECT_FALSE(queue.isPaused) << "single items do not pause the queue";
    EXPECT_EQ(resumeItems(queue, {idOf(1), idOf(5)}), 1U);
    EXPECT_EQ(cancelAllItems(queue, now), 4U);
    EXPECT_THAT(statusesOf(queue), ElementsAre(cancelled, cancelled, cancelled, cancelled, completed, failed, cancelled,
                                               skipped, deleting, remoteDeleteFailed));
    EXPECT_EQ(queue.downloads[0].completedAt, now);
    EXPECT_EQ(removeFinishedItems(queue), 9U);
}

// A paused item may come back by another way than a restore, which would have put this right.
TEST(QueueEditing, keepsProgressOnlyWithAToken) {
    QueueSnapshot queue;
    for (int i = 1; i <= 2; ++i) {
        queue.downloads.push_back(item(i, downloading));
        queue.downloads.back().bytesDownloaded = 500;
    }
    queue.downloads[0].resumeData = "token";
    EXPECT_EQ(pauseQueue(queue), 2U);
    EXPECT_TRUE(queue.isPaused);
    EXPECT_EQ(queue.downloads[0].bytesDownloaded, 500);
    EXPECT_EQ(queue.downloads[1].bytesDownloaded, 0);
    EXPECT_EQ(resumeQueue(queue), 2U);
    EXPECT_EQ(queue.downloads[0].resumeData, "token");
}

TEST(QueueEditing, movesItemsToTheTopInTheirOrder) {
    QueueSnapshot queue;
    for (int i = 1; i <= 4; ++i) queue.downloads.push_back(item(i, queued));
    moveItemsToTop(queue, {idOf(4), idOf(2)});
    EXPECT_THAT(allOf(queue), ElementsAre(idOf(4), idOf(2), idOf(1), idOf(3)));
}

TEST(QueueListing, groupsAsPeopleLookAtIt) {
    QueueSnapshot queue = oneOfEach();
    queue.downloads[1].progress = 0.999;
    queue.downloads[4].completedAt = now - std::chrono::minutes(5);
    queue.downloads[5].error = "HTTP error 404 from put.io.\x1b[2J";
    queue.downloads[7].fileName = "a\nb";
    const std::vector<std::string> lines = listQueue(queue, now);
    EXPECT_THAT(lines,
                ElementsAre("Active", HasSubstr("99%"), HasSubstr("Waiting"), HasSubstr("Removing from put.io..."), "",
                            "Paused", HasSubstr("Paused 0%"), "", HasSubstr("1 waiting"),
                            HasSubstr("Queued \xC2\xB7 1.2 MB"), "", "Finished", HasSubstr("5 minutes ago"),
                            HasSubstr("404 from put.io.\xEF\xBF\xBD[2J"), HasSubstr("Cancelled"),
                            HasSubstr("a\xEF\xBF\xBD"
                                      "b  Skipped"),
                            HasSubstr("couldn't delete")));
    EXPECT_THAT(listQueue({}, now), ElementsAre("No Downloads"));
}

TEST(RemotePath, tellsIDsFromNames) {
    EXPECT_EQ(parseRemotePath("42").id, 42);
    EXPECT_FALSE(parseRemotePath("99999999999999999999").id) << "no ID has 20 digits";
    EXPECT_THAT(parseRemotePath("/42").names, ElementsAre("42"));
    EXPECT_THAT(parseRemotePath("/Films//Season 1/").names, ElementsAre("Films", "Season 1"));
    EXPECT_TRUE(parseRemotePath("/").names.empty());
}

TEST(ConflictPrompt, understandsTheAnswers) {
    EXPECT_EQ(parseConflictAnswer("r"), (ConflictAnswer{ConflictChoice::replace, false}));
    EXPECT_EQ(parseConflictAnswer(" Keep Both \r"), (ConflictAnswer{ConflictChoice::keepBoth, false}));
    EXPECT_EQ(parseConflictAnswer("s a"), (ConflictAnswer{ConflictChoice::skip, true}));
    EXPECT_EQ(parseConflictAnswer("replace all"), (ConflictAnswer{ConflictChoice::replace, true}));
    for (const char* text : {"", "y", "rr", "a", "all"}) EXPECT_FALSE(parseConflictAnswer(text)) << text;
}

}  // namespace
}  // namespace tovri::cli
