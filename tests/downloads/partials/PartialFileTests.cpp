#include <map>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/partials/PartialFile.h"
#include "support/MemoryFileManager.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {
namespace {

using Taken = ByteReceiver::Taken;

class PartialFileTest : public testing::Test {
public:
    using Path = std::filesystem::path;

    // With a note.
    std::shared_ptr<PartialFile> makeNoted(ArrivedBytes arrived = {}) {
        PartialNote begun{.partial = *UUID::parse(noted.filename().native()), .file = {}, .parts = {}};
        begun.file.fileID = FileID(7);
        const NotedReach reach{.end = arrived.length, .checksum = arrived.checksum};
        if (arrived.length > 0) begun.parts = {{.first = 0, .written = reach, .durable = {}}};
        return std::make_shared<PartialFile>(
            PartialFile::Place{files, volumes, lane, noted}, arrived,
            std::make_unique<NoteKeeper>(files, noted, "start", std::move(begun), arrived.length > 0));
    }

    // So many bytes count after a kill, or in a machine that has been started again; -1: no note.
    [[nodiscard]] ByteCount noteSays(const std::string& bootID = "start") {
        const auto dated = NoteFile::read(files, noted);
        if (!dated) return -1;
        const auto counting = dated->counting(bootID);
        return counting ? counting->beginning().end : 0;
    }

    // Of each of these, in mebibytes.
    void receive(PartialFile& file, int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(take(file.shared_from_this(), std::string(mebibyte, 'x')), Taken::all);
            settle();
        }
    }

    std::shared_ptr<PartialFile> make(ArrivedBytes arrived = {}) {
        return std::make_shared<PartialFile>(PartialFile::Place{files, volumes, lane, path}, arrived);
    }

    // Over one connection from where its bytes end.
    Taken take(const std::shared_ptr<PartialFile>& file, std::string_view bytes) {
        std::shared_ptr<PartReceiver>& receiver = receivers_[file];
        if (!receiver) receiver = connect(file);
        return receiver->take(bytes);
    }

    static std::shared_ptr<PartReceiver> connect(const std::shared_ptr<PartialFile>& file) {
        return std::make_shared<PartReceiver>(file, file->share().value());
    }

    void settle() {
        ASSERT_TRUE(loop.runUntil([this] { return loop.isIdle(); }));
    }

    [[nodiscard]] static std::uint32_t checksumOf(std::string_view bytes) {
        Checksum checksum;
        checksum.add(bytes);
        return checksum.value();
    }

    static inline const std::string lane = "volume 1";
    static inline const Path path = "/data/Tovri/Partial/X";
    static inline const Path noted = "/data/Tovri/Partial/0A0B0C0D-0102-4304-8506-0708090A0B0C";
    static constexpr std::size_t mebibyte = 1024UL * 1024;

    VirtualLoop loop;
    VirtualVolumeQueues volumes{loop};
    MemoryFileManager files;

private:
    std::map<std::shared_ptr<PartialFile>, std::shared_ptr<PartReceiver>> receivers_;
};

TEST_F(PartialFileTest, aFullBufferTakesNothingUntilHalfOfItIsFree) {
    const auto file = make();
    volumes.hang(lane);
    std::string all;
    const auto piece = [](char letter) { return std::string(mebibyte, letter); };
    for (const char letter : {'a', 'b', 'c', 'd'}) {
        EXPECT_EQ(take(file, piece(letter)), Taken::all);
        all += piece(letter);
    }
    EXPECT_EQ(take(file, piece('e')), Taken::none);
    int told = 0;
    ByteCount writtenBefore = 0;
    file->whenReady([&] {
        ++told;
        writtenBefore = file->written().length;
        EXPECT_EQ(take(file, piece('e')), Taken::all);
    });
    settle();
    EXPECT_EQ(told, 0);
    EXPECT_FALSE(files.exists(path));

    volumes.goOn(lane);
    settle();
    EXPECT_EQ(told, 1);
    EXPECT_EQ(writtenBefore, PartialFile::bufferLimit / 2);
    all += piece('e');
    EXPECT_TRUE(files.content(path) == all);
    EXPECT_EQ(file->written().length, static_cast<ByteCount>(all.size()));
    EXPECT_EQ(file->finish()->checksum->value(), checksumOf(all));
    bool isTold = false;
    file->whenReady([&] { isTold = true; });
    EXPECT_TRUE(isTold) << "there is room";
}

TEST_F(PartialFileTest, aVolumeThatFailsEndsTheTransferWithItsReason) {
    const auto file = make();
    files.failNext("writeAt", path, {ErrorCase::file, "The disk is full."});
    volumes.hang(lane);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(take(file, std::string(mebibyte, 'x')), Taken::all);
    bool isTold = false;  // or the connection would wait for ever
    file->whenReady([&] { isTold = true; });
    volumes.goOn(lane);
    settle();
    EXPECT_TRUE(isTold);
    EXPECT_EQ(take(file, "more"), Taken::refused);
    EXPECT_EQ(file->error().value().description, "The disk is full.");
    EXPECT_EQ(file->finish().error().description, "The disk is full.");
    EXPECT_EQ(file->written().length, 0) << "nothing counts that came after the gap";
    EXPECT_EQ(files.content(path), "");
}

TEST_F(PartialFileTest, takesNothingBeyondTheAnnouncement) {
    files.put(path, "01234");
    for (const ByteCount before : {0, 5}) {
        SCOPED_TRACE(before);
        if (before == 0) ASSERT_TRUE(files.removeItem(path));
        if (before == 5) files.put(path, "01234");
        const auto file = make({.length = before, .checksum = std::nullopt});
        if (before > 0) ASSERT_TRUE(file->reopen());
        file->announce({.length = before + 10, .validator = "\"a\"", .limit = before + 10});
        EXPECT_EQ(take(file, "56789"), Taken::all);
        EXPECT_EQ(take(file, "ABCDEF"), Taken::refused);
        EXPECT_EQ(take(file, "G"), Taken::refused) << "what is refused once does not go on";
        settle();
        EXPECT_EQ(files.content(path), before == 0 ? "56789" : "0123456789");
        EXPECT_EQ(file->finish().error().description, "The server sent more bytes than it announced; retry.");
        EXPECT_EQ(file->announced().validator, "") << "there is no way to go on from it";
    }
    const auto exact = make();
    EXPECT_EQ(take(exact, ""), Taken::all);
    exact->announce({.length = std::nullopt, .validator = "", .limit = 0});
    EXPECT_EQ(take(exact, "x"), Taken::refused);
}

TEST_F(PartialFileTest, knowsTheChecksumOfWhatItWasGoneOnFrom) {
    for (const bool isKnown : {true, false}) {
        SCOPED_TRACE(isKnown);
        files.put(path, "12345 and what counts no more");
        Checksum first;
        first.add("12345");
        const auto file = make({.length = 5, .checksum = isKnown ? std::optional(first) : std::nullopt});
        ASSERT_TRUE(file->reopen());
        EXPECT_EQ(take(file, "6789"), Taken::all);
        const Result<ArrivedBytes> finished = file->finish();
        EXPECT_EQ(finished.value().length, 9);
        EXPECT_EQ(finished->checksum.has_value(), isKnown);
        EXPECT_EQ(file->readAgain()->checksum->value(), 0xCBF43926U);
        settle();
    }
    files.put(path, "123");
    EXPECT_FALSE(make({.length = 5})->reopen()) << "fewer bytes than count";
}

TEST_F(PartialFileTest, leavesNothingBehindWhenItIsNotWantedAnyMore) {
    const auto file = make();
    EXPECT_EQ(take(file, "bytes"), Taken::all);
    settle();
    EXPECT_TRUE(files.exists(path));
    EXPECT_EQ(take(file, "more bytes"), Taken::all);
    file->close();
    EXPECT_EQ(take(file, "late"), Taken::refused);
    volumes.run(lane, [file] { file->remove(); });
    settle();
    EXPECT_FALSE(files.exists(path));
}

// --- Its note ---

TEST_F(PartialFileTest, notesEachEightMebibytesAndMakesEachSixtyFourDurable) {
    const auto file = makeNoted();
    file->announce({.length = 200 * mebibyte, .validator = "\"a\""});
    receive(*file, 7);
    EXPECT_EQ(noteSays(), -1) << "what is small costs nothing";
    for (int i = 8; i <= 70; ++i) {
        receive(*file, 1);
        ASSERT_EQ(noteSays(), i / 8 * 8 * ByteCount{mebibyte});
    }
    EXPECT_EQ(noteSays("another start"), 64 * ByteCount{mebibyte});
    files.powerLoss();
    EXPECT_EQ(noteSays("another start"), 64 * ByteCount{mebibyte});
    EXPECT_EQ(files.fileSize(noted), 64 * ByteCount{mebibyte});
}

TEST_F(PartialFileTest, notesEachSecondAndMakesEachTenDurable) {
    const auto file = makeNoted();
    file->announce({.length = 1000, .validator = "\"a\""});
    for (int second = 1; second <= 10; ++second) {
        EXPECT_EQ(take(file, "bytes"), Taken::all);
        file->second();
        settle();
        EXPECT_EQ(noteSays(), 5 * second);
    }
    EXPECT_GE(noteSays("another start"), 5 * 8);
    const std::size_t operations = files.operations.size();
    for (int i = 0; i < 20; ++i) file->second();  // nothing comes any more
    settle();
    EXPECT_EQ(noteSays("another start"), 50);
    EXPECT_LT(files.operations.size(), operations + 5);
}

TEST_F(PartialFileTest, notesNothingThatNobodyCouldGoOnFrom) {
    for (const AnnouncedFile& announced : {AnnouncedFile{.length = std::nullopt, .validator = "\"a\""},
                                           AnnouncedFile{.length = 1000, .validator = ""}}) {
        const auto file = makeNoted();
        file->announce(announced);
        EXPECT_EQ(take(file, "bytes"), Taken::all);
        file->second();
        settle();
        EXPECT_TRUE(file->synchronize());
        EXPECT_EQ(noteSays(), -1);
        file->remove();
    }
}

// Of a disk that has refused once nobody knows what it holds.
TEST_F(PartialFileTest, callsNothingDurableThatTheDiskHasRefused) {
    const auto file = makeNoted();
    file->announce({.length = 1000, .validator = "\"a\""});
    EXPECT_EQ(take(file, "bytes"), Taken::all);
    files.failNext("makeDurable", noted, {ErrorCase::file, "The disk is broken."});
    for (int i = 0; i < 30; ++i) file->second();
    settle();
    EXPECT_EQ(take(file, "bytes"), Taken::all);
    for (int i = 0; i < 30; ++i) file->second();
    settle();
    EXPECT_EQ(noteSays(), 10);
    EXPECT_EQ(noteSays("another start"), 0);
}

TEST_F(PartialFileTest, isOnTrialFromTheServersWordToTheFirstByte) {
    const auto isOnTrial = [&] { return NoteFile::read(files, noted)->note.isOnTrial; };
    const auto before = makeNoted();
    before->announce({.length = 1000, .validator = "\"a\""});
    EXPECT_EQ(take(before, "12345"), Taken::all);
    settle();
    EXPECT_TRUE(before->synchronize());
    EXPECT_FALSE(isOnTrial());

    const auto file = makeNoted({.length = 5, .checksum = std::nullopt});
    ASSERT_TRUE(file->reopen());
    file->announce({.length = 1000, .validator = "\"a\""});
    file->putOnTrial();
    settle();
    EXPECT_FALSE(isOnTrial());
    file->announce({.length = 1000, .validator = "\"b\""});
    settle();
    EXPECT_TRUE(isOnTrial());
    EXPECT_EQ(noteSays("another start"), 5) << "what was durable still is";
    EXPECT_EQ(take(file, "6"), Taken::all);
    settle();
    EXPECT_FALSE(isOnTrial());
    EXPECT_EQ(noteSays(), 6);
    file->remove();
    EXPECT_EQ(noteSays(), -1);
}

// Whoever goes on from what was written is not disturbed by what was still to be written.
TEST_F(PartialFileTest, writesNothingAfterItWasAbandoned) {
    const auto file = makeNoted();
    file->announce({.length = 1000, .validator = "\"a\""});
    EXPECT_EQ(take(file, "12345"), Taken::all);
    settle();
    EXPECT_EQ(take(file, "678"), Taken::all);
    file->abandon();
    settle();
    EXPECT_EQ(files.content(noted), "12345");
    EXPECT_EQ(noteSays(), 5);
    for (int i = 0; i < 30; ++i) file->second();
    settle();
    EXPECT_EQ(noteSays("another start"), 0);
}

TEST_F(PartialFileTest, eachConnectionWritesItsShareInItsPlace) {
    const std::string whole(5U << 20U, 'x');
    const auto file = make({.length = 1, .checksum = Checksum(checksumOf("x"))});
    files.put(path, "x");
    ASSERT_TRUE(file->reopen());
    file->announce({.length = static_cast<ByteCount>(whole.size()),
                    .validator = "",
                    .limit = static_cast<ByteCount>(whole.size())});
    const auto first = connect(file);
    const auto second = connect(file);
    const ByteRange far = second->range();
    EXPECT_EQ(second->take(std::string(static_cast<std::size_t>(far.length()) - 1, 'x')), Taken::all);
    EXPECT_FALSE(second->isDone());
    settle();
    EXPECT_EQ(file->written().length, 1) << "what is behind a gap is no beginning";
    EXPECT_EQ(second->take("x"), Taken::all);
    EXPECT_TRUE(second->isDone());
    // More than its share: the rest of it has come already.
    EXPECT_EQ(first->take(whole), Taken::all);
    EXPECT_EQ(first->take("x"), Taken::refused);
    EXPECT_TRUE(file->isWhole());
    EXPECT_EQ(file->finish()->checksum->value(), checksumOf(whole));
    EXPECT_TRUE(files.content(path) == whole);
    settle();
}

// What counts after a kill or a loss of power are the parts that are there, never what lies between them.
TEST_F(PartialFileTest, theNoteKnowsThePartsAndWhichOfThemAreDurable) {
    constexpr ByteCount length = 64 * static_cast<ByteCount>(mebibyte);
    const auto parts = [this](const char* bootID) {
        std::string text;
        const auto note = NoteFile::read(files, noted).value().counting(bootID);
        for (const NotedPart& part : note ? note->parts : std::vector<NotedPart>())
            text += std::to_string(part.first >> 20U) + "-" + std::to_string(part.written.end >> 20U) + " ";
        return text;
    };
    const auto file = makeNoted();
    EXPECT_EQ(take(file, ""), Taken::all);
    file->announce({.length = length, .validator = "\"a\"", .limit = length});
    const auto side = connect(file);
    const auto other = connect(file);
    ASSERT_EQ(side->range().first, length / 2);
    ASSERT_EQ(other->range().first, length / 4);
    const auto bring = [&](PartReceiver& receiver, int count) {
        for (int i = 0; i < count; ++i) {
            ASSERT_EQ(receiver.take(std::string(mebibyte, 'x')), Taken::all);
            settle();
        }
    };
    receive(*file, 5);
    bring(*side, 6);
    bring(*other, 13);
    EXPECT_EQ(parts("start"), "0-5 16-29 32-38 ");
    EXPECT_EQ(parts("another"), "");
    ASSERT_TRUE(file->synchronize());
    EXPECT_EQ(parts("another"), "0-5 16-29 32-38 ");
    bring(*other, 3);  // touches the next
    receive(*file, 5);
    EXPECT_EQ(parts("another"), "0-5 16-29 32-38 ");
    ASSERT_TRUE(file->synchronize());
    EXPECT_EQ(parts("another"), "0-10 16-38 ");
    Checksum checksum;
    checksum.add(std::string(22 * mebibyte, 'x'));
    EXPECT_EQ(NoteFile::read(files, noted)->note.parts.back().durable.checksum, checksum);
}

}  // namespace
}  // namespace tovri::test
