#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "screens/SeenDetails.h"
#include "screens/downloads/DownloadDetails.h"
#include "support/FakeWorkspace.h"

namespace tovri::test {
namespace {

using Status = DownloadStatus;
using namespace std::chrono_literals;

class DownloadDetailsTest : public testing::Test {
public:
    static Download sample(Status status) {
        Download item{DownloadRecord{}};
        item.fileID = FileID(7);
        item.fileName = "Film.mkv";
        item.status = status;
        item.fileSize = 2'000'000;
        item.destinationFolder = std::make_shared<const std::filesystem::path>("/home/ann/Films");
        return item;
    }

    [[nodiscard]] std::string shown() const { return seenText(details.shown()); }

    World world;
    FakeWorkspace workspace;
    DownloadDetails details{{world.manager(), workspace, world.loop, world.clock, {.web = "https://pages"}}};
    int told = 0;
    Subscription following{details.onChange([this] { ++told; })};
};

TEST_F(DownloadDetailsTest, sayWhatIsKnownInEachStatus) {
    Download item = sample(Status::queued);
    const std::string where = " | Source: File 7 on put.io | Destination: /home/ann/Films/Film.mkv";
    const std::string size = " | Size: 2 MB (2,000,000 bytes)";
    EXPECT_EQ(seenText(downloadDetails(item, world.clock)),
              "Film.mkv | Status: Queued · 2 MB" + where + size + " | [Open on put.io]");
    EXPECT_EQ(seenText(downloadDetails(item, world.clock, 0, "Held by the timetable")).find("Held by"), 19U);

    item = sample(Status::downloading);
    item.fileSize = 0;
    item.crc32 = "0badcafe";
    EXPECT_EQ(seenText(downloadDetails(item, world.clock, 4)),
              "Film.mkv | Status: 0 bytes / 0 bytes | Connections: 4" + where +
                  " | Size: Unknown | Checksum (CRC-32): 0badcafe | [Open on put.io]");

    item = sample(Status::failed);
    item.error = "HTTP error 404 from put.io.";
    item.account = std::make_shared<const std::string>("ann");
    item.syncRuleID = item.id;
    EXPECT_EQ(seenText(downloadDetails(item, world.clock)),
              "Film.mkv | Status: HTTP error 404 from put.io. | Source: File 7 on put.io, account ann | Queued by: An "
              "automation rule | Destination: /home/ann/Films/Film.mkv" +
                  size + " | [Open on put.io]");
    EXPECT_EQ(downloadDetails(item, world.clock).facts.front().tint, Tint::failure);
}

TEST_F(DownloadDetailsTest, sayHowWhatHasArrivedWasProven) {
    const auto proof = [this](const Download& item) {
        const std::string text = seenText(downloadDetails(item, world.clock));
        const auto at = text.find("Proven: ") + 8;
        return text.substr(at, text.find(" | ", at) - at);
    };
    Download item = sample(Status::completed);
    item.bytesDownloaded = item.fileSize;
    EXPECT_EQ(proof(item), "By the size that put.io says; it gave no checksum");
    item.crc32 = item.arrivedChecksum = "0badcafe";
    EXPECT_EQ(proof(item), "By put.io's checksum");
    item.arrivedChecksum = "00000001";
    EXPECT_EQ(proof(item), "No: it differs from put.io's record");
    item = sample(Status::completed);
    item.fileSize = 0;
    item.bytesDownloaded = 153;
    EXPECT_EQ(proof(item), "No: put.io gave nothing to prove it by");
    EXPECT_NE(seenText(downloadDetails(item, world.clock)).find("Size: 153 bytes |"), std::string::npos);
}

TEST_F(DownloadDetailsTest, tellTimesAndTheFailedTriesNewestFirst) {
    Download item = sample(Status::remoteDeleteFailed);
    world.clock.offset = [](Timestamp) { return 2h; };
    item.error = "HTTP error 500 from put.io.";
    item.resolvedURL = "/home/ann/Films/Film (1).mkv";
    item.queuedAt = world.clock.now();
    item.startedAt = *item.queuedAt + 10s;
    item.completedAt = *item.queuedAt + 1min;
    item.noteFailedTry(*item.queuedAt + 12s, "It broke off.");
    item.noteFailedTry(*item.queuedAt + 22h + 3s, "Nobody is there.");
    const std::string text = seenText(downloadDetails(item, world.clock));
    EXPECT_EQ(text.substr(0, text.find(" | Source")),
              "Film (1).mkv | Status: Downloaded — couldn't delete from put.io: HTTP error 500 from put.io.");
    EXPECT_EQ(text.substr(text.find("Queued: ")),
              "Queued: 4 Oct 2024, 02:00:00 | Started: 4 Oct 2024, 02:00:10 | Arrived: 4 Oct 2024, 02:01:00 | Failed "
              "tries: 5 Oct 2024, 00:00:03: Nobody is there.\n4 Oct 2024, 02:00:12: It broke off. | [Show in Folder] "
              "| [Open on put.io]");
}

TEST_F(DownloadDetailsTest, addUpSeveral) {
    EXPECT_EQ(shown(), "Select a download to see its details.");
    const ConstDownloadPointer one = world.enqueue(world.addFile("one", std::string(1000, '.')));
    const ConstDownloadPointer other = world.enqueue(world.addFile("other", std::string(500, '.')));
    changeable(other).fileSize = 0;
    details.select({one->id, other->id, UUID()});
    EXPECT_EQ(shown(), "2 downloads selected | Size together: 1 KB (1,000 bytes) | Of unknown size: 1");
    details.select({UUID()});
    EXPECT_EQ(shown(), "Select a download to see its details.");
}

TEST_F(DownloadDetailsTest, followADownloadAFewTimesASecond) {
    const FileID file = world.addFile("film", std::string(100'000, '.'));
    world.link(file).rate = 10'000;
    const ConstDownloadPointer item = world.enqueue(file);
    details.select({item->id});
    world.loop.advance(2s);
    EXPECT_NE(shown().find("Connections: 1"), std::string::npos) << shown();
    told = 0;
    world.loop.advance(4s);
    EXPECT_GE(told, 4);
    EXPECT_LE(told, 16);
    details.select({});
    told = 0;
    world.loop.advance(1s);
    EXPECT_EQ(told, 0) << "nobody looks";
    details.select({item->id});
    world.loop.advance(20s);
    EXPECT_NE(shown().find("Status: Arrived |"), std::string::npos) << shown();
    told = 0;
    world.loop.advance(1min);
    EXPECT_EQ(told, 0) << "nothing has changed";
}

TEST_F(DownloadDetailsTest, countTheTimeThatAHeldOneWaits) {
    world.storage.keepsAway = [](const std::string&) { return Error(TransportFault::unreachable, "Nobody; retry."); };
    const ConstDownloadPointer item = world.enqueue(world.addFile("film", std::string(1000, '.')));
    details.select({item->id});
    world.loop.advance(10min);
    ASSERT_TRUE(item->hold && item->hold->until);
    told = 0;
    world.loop.advance(3s);
    EXPECT_GE(told, 2);
    EXPECT_NE(shown().find(", again in "), std::string::npos) << shown();
    EXPECT_NE(shown().find("Failed tries: "), std::string::npos) << shown();
}

TEST_F(DownloadDetailsTest, leadToTheFolderAndToPutIO) {
    const ConstDownloadPointer item = world.enqueue(world.addFile("film", "bytes"));
    details.select({item->id});
    details.perform(DetailsAction::showInFolder);
    EXPECT_TRUE(workspace.revealedFiles.empty());
    world.settle();
    details.perform(DetailsAction::showInFolder);
    EXPECT_EQ(workspace.revealedFiles, std::vector{World::downloads / "film"});
    details.perform(DetailsAction::openOnPutIO);
    EXPECT_EQ(workspace.openedAddresses, std::vector{"https://pages/files/" + item->fileID.text()});
}

TEST_F(DownloadDetailsTest, leadNowhereWhenPutIOHasDeletedIt) {
    world.mayLose = true;
    const ConstDownloadPointer item = world.enqueue(world.addFile("film", "bytes"), {.deleteAfterDownload = true});
    details.select({item->id});
    world.settle();
    world.loop.advance(1s);
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_NE(shown().find("; deleted there"), std::string::npos) << shown();
    EXPECT_EQ(shown().find("[Open on put.io]"), std::string::npos) << shown();
}

}  // namespace
}  // namespace tovri::test
