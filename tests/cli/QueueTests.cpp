#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/commands/files/RemoteTree.h"
#include "cli/commands/queue/ItemSelection.h"
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

TEST(ItemSelection, takesUnambiguousBeginnings) {
    const std::vector<UUID> ids{*UUID::parse("1A2B3C4D-0000-0000-0000-000000000001"),
                                *UUID::parse("1A2B3C4D-0000-0000-0000-000000000002"),
                                *UUID::parse("FFFFFFFF-0000-0000-0000-000000000003")};
    EXPECT_THAT(*selectItems({"ff", "1a2b3c4d-0000-0000-0000-000000000001", "FFFF"}, ids), ElementsAre(ids[2], ids[0]));
    EXPECT_THAT(selectItems({"1A2B"}, ids).error().description, HasSubstr("beginning of 2 IDs"));
    EXPECT_THAT(selectItems({"ff", "2"}, ids).error().description, HasSubstr("begins with \"2\""));
    EXPECT_FALSE(selectItems({""}, ids)) << "nothing is not the beginning of everything";
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

TEST(QueueListing, tellsWhatArrivedAndHowItWasProven) {
    QueueSnapshot queue;
    queue.downloads.assign(3, item(1, completed));
    queue.downloads[0].bytesDownloaded = 1'200'000;
    queue.downloads[1].bytesDownloaded = 153;
    queue.downloads[1].resolvedURL = "/home/ann/kept (1).mkv";
    queue.downloads[1].error = "Arrived, but differs.";
    queue.downloads[2].status = failed;
    const std::vector<std::string> lines = listQueue(queue, now);
    EXPECT_THAT(lines[1], HasSubstr("1.2 MB \xC2\xB7 proven by size"));
    EXPECT_THAT(lines[2], HasSubstr("  kept (1).mkv  153 bytes \xC2\xB7 Arrived, but differs."));
    const std::string json = queueJSON(queue);
    EXPECT_THAT(json, HasSubstr(R"("size":1200000,"bytes":1200000,"status":"completed","destination":"/home/ann",)"
                                R"("proof":"size"})"));
    EXPECT_THAT(json, HasSubstr(R"("path":"/home/ann/kept (1).mkv","proof":"none","error":"Arrived, but differs."})"));
    EXPECT_THAT(json, HasSubstr(R"("name":"kept (1).mkv")"));
    EXPECT_THAT(json, HasSubstr(R"("status":"failed","destination":"/home/ann"})"));
}

TEST(QueueListing, tellsTimesAndFailedTriesToPrograms) {
    QueueSnapshot queue;
    queue.downloads.push_back(item(1, failed));
    DownloadRecord& record = queue.downloads.front();
    record.queuedAt = record.startedAt = now;
    record.noteFailedTry(now + std::chrono::seconds(5), "It broke off.\x1b");
    EXPECT_THAT(queueJSON(queue), HasSubstr(R"("queuedAt":"2084-01-29T16:00:00Z","startedAt":"2084-01-29T16:00:00Z",)"
                                            R"("failedTries":[{"at":"2084-01-29T16:00:05Z","what":"It broke off.)"));
}

TEST(RemotePath, tellsIDsFromNames) {
    EXPECT_EQ(parseRemotePath("42").id, FileID(42));
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
