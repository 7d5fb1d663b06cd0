// What is said of a file that has arrived, and what becomes of one that is not what put.io has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Arriving : public testing::Test {
public:
    [[nodiscard]] static std::string checksumOf(std::string_view bytes) {
        Checksum checksum;
        checksum.add(bytes);
        return checksum.text();
    }

    // Queues it and waits until the end.
    ConstDownloadPointer arrive(FileID file, const DownloadManager::EnqueueOptions& options = {}) {
        ConstDownloadPointer item = world.enqueue(file, options);
        world.settle();
        return item;
    }

    // A file in the midst of its transfer, paused there. What it would hold in the end has the listed checksum.
    ConstDownloadPointer paused(const std::string& content) {
        const FileID file = world.addFile("f", content);
        world.announceChecksum(file, checksumOf(content));
        world.link(file).rate = static_cast<ByteCount>(content.size()) / 10;
        world.link(file).validator = "\"first\"";
        ConstDownloadPointer item = world.enqueue(file);
        pauseMidway(item);
        return item;
    }

    void pauseMidway(const ConstDownloadPointer& item) {
        world.loop.advance(5s);
        manager.pause(item);
        ASSERT_TRUE(world.runUntil(item, Status::paused));
        ASSERT_TRUE(item->resumeData);
    }

    // How often put.io was asked for the record of any file.
    [[nodiscard]] std::size_t recordsAskedFor() const {
        return static_cast<std::size_t>(std::ranges::count_if(world.http.requests, [](const HTTPRequest& request) {
            const auto at = request.url.find("/v2/files/");
            return at != std::string::npos && request.url.find_first_not_of("0123456789", at + 10) == std::string::npos;
        }));
    }

    World world;
    DownloadManager& manager = world.manager();
};

constexpr const char* differs = "Arrived, but differs from put.io's record: ";

TEST_F(Arriving, isProvenByWhatPutIOSaysOfIt) {
    std::string zeros = "f";  // content whose checksum begins with a zero
    while (!checksumOf(zeros).starts_with("0")) zeros += "f";
    std::string shortText = checksumOf(zeros).substr(1);
    for (char& letter : shortText) letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));

    struct Case {
        const char* what;
        std::string content;
        std::optional<ByteCount> size;
        std::optional<std::string> checksum;
        ArrivalProof proof;
        std::string error;
    };

    const Case cases[] = {
        {"checksum", "content", {}, checksumOf("content"), ArrivalProof::checksum, ""},
        {"fewer digits, upper case", zeros, {}, shortText, ArrivalProof::checksum, ""},
        {"empty", "", {}, "00000000", ArrivalProof::checksum, ""},
        {"no checksum", "content", {}, {}, ArrivalProof::size, ""},
        {"no checksum that can be read", "content", {}, "n/a", ArrivalProof::size, ""},
        {"neither", "content", 0, {}, ArrivalProof::none, ""},
        {"a size that no file has", "content", -5, {}, ArrivalProof::none, ""},
        {"shorter",
         std::string(153, 'x'),
         4'294'967'296,
         {},
         ArrivalProof::none,
         "153 bytes instead of 4,294,967,296."},
        {"longer", "x", 0, {}, ArrivalProof::none, ""},
        {"one byte", "x", 2, checksumOf("x"), ArrivalProof::none, "1 byte instead of 2."},
        {"other bytes",
         "content",
         {},
         "BF4",
         ArrivalProof::none,
         "its checksum is " + checksumOf("content") + ", put.io's is 00000bf4."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        const FileID file = world.addFile(c.what, c.content);
        if (c.size) world.announceSize(file, *c.size);
        if (c.checksum) world.announceChecksum(file, *c.checksum);
        const ConstDownloadPointer item = arrive(file);
        EXPECT_EQ(World::outcome(item), c.error.empty() ? "completed" : "completed: " + (differs + c.error));
        EXPECT_EQ(arrivalProof(*item), c.proof);
        EXPECT_EQ(item->bytesDownloaded, static_cast<ByteCount>(c.content.size()));
        EXPECT_EQ(world.files.content(World::downloads / c.what), c.content);
    }
    EXPECT_EQ(recordsAskedFor(), 0U);
}

// Where the listing was old, the retry finds that out before it fetches anything.
TEST_F(Arriving, aRetryAsksForTheRecordFirst) {
    struct Case {
        const char* what;
        ByteCount listed;
        bool isAnnounced;
        std::string before;
    };

    const Case cases[] = {
        {"announced", 3, true, "completed: " + (differs + std::string("7 bytes instead of 3."))},
        {"beyond the listed size", 3, false, "failed: The server sent more bytes than it announced; retry."},
        {"short of the listed size", 9, false, "failed: The server sent fewer bytes than it announced; retry."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        World other;
        const FileID file = other.addFile("f", "content");
        other.link(file).announcesLength = c.isAnnounced;
        other.announceSize(file, c.listed);
        other.preferences.setConflictBehavior(ConflictBehavior::replace);
        other.enqueue(file);
        other.settle();
        EXPECT_EQ(World::outcome(other.find(file)), c.before);
        EXPECT_TRUE(other.files.files(World::partials).empty());

        other.announceSize(file, 7);
        other.announceChecksum(file, checksumOf("content"));
        other.http.requests.clear();
        other.manager().retry(other.find(file));
        EXPECT_TRUE(other.manager().saveNow());
        other.kill();
        other.start();
        other.settle();
        const ConstDownloadPointer item = other.find(file);
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(arrivalProof(*item), ArrivalProof::checksum);
        EXPECT_EQ(item->fileSize, c.listed) << "stays";
        EXPECT_EQ(item->listedSize, 7);
        EXPECT_EQ(item->progressText(), "7 bytes / 7 bytes");
        EXPECT_TRUE(other.http.requests.at(0).url.ends_with("/v2/files/" + file.text()));
        EXPECT_EQ(other.tree(), "f=content");

        other.kill();
        other.start();
        EXPECT_EQ(arrivalProof(*other.find(file)), ArrivalProof::checksum);
    }
}

// Whatever the rule about taken names is, it is about what is not the item's own.
TEST_F(Arriving, aRetryTakesThePlaceOfWhatDiffered) {
    struct Case {
        const char* what;
        ConflictBehavior behavior;
        std::optional<std::string> atTheName;   // before the first one comes
        std::optional<std::string> madeOfCopy;  // by the user; empty: removed
        std::string tree;
    };

    using enum ConflictBehavior;
    const Case cases[] = {
        {"it is still there", keepBoth, {}, {}, "f=whole"},
        {"no question has to be asked", ask, {}, {}, "f=whole"},
        {"nor is it passed over", skip, {}, {}, "f=whole"},
        {"under another name", keepBoth, "the user's", {}, "f=the user's f (1)=whole"},
        {"changed", keepBoth, {}, "edited!", "f=edited! f (1)=whole"},
        {"gone", keepBoth, "the user's", "", "f=the user's f (1)=whole"},
    };
    for (const Case& c : cases) {
        for (const bool isNewProcess : {false, true}) {
            SCOPED_TRACE(c.what);
            World other;
            other.preferences.setConflictBehavior(c.behavior);
            if (c.atTheName) other.files.put(World::downloads / "f", *c.atTheName);
            const FileID file = other.addFile("f", "wholly");
            other.announceSize(file, 5);
            other.enqueue(file);
            other.settle();
            EXPECT_EQ(World::outcome(other.find(file)),
                      "completed: " + (differs + std::string("6 bytes instead of 5.")));
            const World::Path copy = *other.find(file)->resolvedURL;
            if (c.madeOfCopy && c.madeOfCopy->empty()) EXPECT_TRUE(other.files.removeItem(copy));
            if (c.madeOfCopy && !c.madeOfCopy->empty()) other.files.put(copy, *c.madeOfCopy);

            other.link(file).content = "whole";
            other.manager().retry(other.find(file));
            if (isNewProcess) {
                other.manager().saveNow();
                other.kill();
                other.start();
            }
            other.settle();
            EXPECT_EQ(World::outcome(other.find(file)), "completed");
            EXPECT_EQ(other.tree(), c.tree);
        }
    }
}

// What it was compared with is in the journal until the queue file has it.
TEST_F(Arriving, whatDifferedIsKnownAfterAKillBeforeTheSave) {
    for (const bool losesPower : {false, true}) {
        World other;
        const FileID file = other.addFile("f", "content");
        other.announceSize(file, 3);
        other.announceChecksum(file, checksumOf("content"));
        const ConstDownloadPointer item = other.enqueue(file);
        EXPECT_TRUE(other.manager().saveNow());
        other.volumes.hang("saves");
        ASSERT_TRUE(other.runUntil(item, Download::Status::completed));
        other.loop.advance(std::chrono::seconds(3));
        losesPower ? other.losePower() : other.kill();
        other.volumes.goOn("saves");
        other.start();
        other.settle();
        EXPECT_EQ(World::outcome(other.find(file)), "completed: " + (differs + std::string("7 bytes instead of 3.")));
        EXPECT_EQ(other.find(file)->arrivedChecksum, checksumOf("content"));
        EXPECT_EQ(other.transfersOf(file), 1U);
        EXPECT_EQ(other.tree(), "f=content");
    }
}

TEST_F(Arriving, aRecordThatCannotBeHadFailsTheRetry) {
    const FileID file = world.addFile("f", "content");
    world.announceSize(file, 3);
    const ConstDownloadPointer item = arrive(file);
    world.refusals[file] = 1;
    manager.retry(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 400 from put.io.");
    EXPECT_EQ(world.transfersOf(file), 1U);
}

// Storage machines have validators of their own for the same content.
TEST_F(Arriving, goesOnUnderAnotherValidatorWhereAChecksumDecides) {
    const std::string content(1000, 'c');
    const ConstDownloadPointer item = paused(content);
    world.link(item->fileID).validator = "\"second\"";
    manager.resume(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(arrivalProof(*item), ArrivalProof::checksum);
    EXPECT_EQ(world.storage.resumed, 1);
    EXPECT_EQ(world.storage.bytesSent, 1000);
}

TEST_F(Arriving, neverSplicesTwoFiles) {
    for (const char* checksum : {"", "n/a"}) {
        SCOPED_TRACE(checksum);
        World other;
        const FileID file = other.addFile("f", std::string(1000, 'a'));
        if (*checksum != '\0') other.announceChecksum(file, checksum);
        other.link(file).rate = 100;
        const ConstDownloadPointer item = other.enqueue(file);
        other.loop.advance(5s);
        other.manager().pause(item);
        ASSERT_TRUE(other.runUntil(item, Status::paused));
        other.link(file).content = std::string(1000, 'b');
        other.manager().resume(item);
        other.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(other.tree(), "f=" + std::string(1000, 'b'));
    }
}

TEST_F(Arriving, aChecksumThatDoesNotFitStartsTheFileOverOnce) {
    const ConstDownloadPointer item = paused(std::string(1000, 'a'));
    const FileID file = item->fileID;
    const std::string other(1000, 'b');
    world.link(file).content = other;
    world.link(file).validator = "\"second\"";
    manager.resume(item);
    ASSERT_TRUE(world.loop.runUntil([&] { return world.transfersOf(file) == 3; }, 1min));
    EXPECT_TRUE(item->hasStartedOver);

    // Now it is what the link serves that differs, and it is not fetched for ever.
    pauseMidway(item);
    EXPECT_TRUE(manager.saveNow());
    world.kill();
    world.start();
    world.manager().resume(world.find(file));
    world.settle();
    EXPECT_EQ(World::outcome(world.find(file)), std::string("completed: ") + differs + "its checksum is " +
                                                    checksumOf(other) + ", put.io's is " +
                                                    checksumOf(std::string(1000, 'a')) + ".");
    EXPECT_EQ(world.tree(), "f=" + other);
    EXPECT_EQ(world.transfersOf(file), 4U);
    world.announceChecksum(file, checksumOf(other));
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    world.manager().retry(world.find(file));
    world.settle();
    EXPECT_EQ(World::outcome(world.find(file)), "completed");
}

TEST_F(Arriving, whatDiffersStaysOnPutIOUntilItsRecordFits) {
    const FileID file = world.addFile("f", "content");
    world.announceSize(file, 9);
    const ConstDownloadPointer item = arrive(file, {.deleteAfterDownload = true});
    const std::string outcome = std::string("remoteDeleteFailed: ") + differs + "7 bytes instead of 9.";
    EXPECT_EQ(World::outcome(item), outcome);
    EXPECT_EQ(arrivalProof(*item), ArrivalProof::none);
    manager.retryDelete(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), outcome);
    EXPECT_TRUE(world.deletions.empty());

    world.announceSize(file, 7);
    manager.retryDelete(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.deletions, std::vector{file});
}

TEST_F(Arriving, aFolderStaysWithTheOneThatDiffers) {
    const FolderID folder = world.addFolder("F");
    const FileID good = world.addFile("good", "good", folder);
    const FileID bad = world.addFile("bad", "bad", folder);
    world.announceSize(bad, 1'000);
    world.enqueueFolder(folder, true);
    world.settle();
    const std::string text = std::string(differs) + "3 bytes instead of 1,000.";
    EXPECT_EQ(World::outcome(world.find(bad)), "remoteDeleteFailed: " + text);
    EXPECT_THAT(World::outcome(world.find(good)),
                testing::AllOf(testing::StartsWith("remoteDeleteFailed: "), testing::HasSubstr("\"bad\"")));
    EXPECT_TRUE(world.deletions.empty());
    world.mayLose = true;
    manager.deleteAnyway(world.find(bad));
    world.settle();
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
}

}  // namespace
}  // namespace tovri::test
