// What stands in the note beside a partial file, and what is believed of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/partials/NoteFile.h"
#include "support/MemoryFileManager.h"

namespace tovri::test {
namespace {

constexpr const char* boot = "this start";

class Notes : public testing::Test {
public:
    using Path = std::filesystem::path;

    // The file's first bytes up to `end` are written, the half of them durable.
    [[nodiscard]] static PartialNote note(ByteCount end) {
        return {.partial = *UUID::parse(name),
                .file = {.fileID = FileID(7), .length = 1000, .validator = "\"v\"", .checksum = Checksum(0xBF4)},
                .parts = {{.first = 0, .written = {end, Checksum(1)}, .durable = {end / 2, std::nullopt}}}};
    }

    // Where the note says that the bytes at the file's beginning end; -1 when it says nothing.
    [[nodiscard]] ByteCount read(const std::string& bootID = boot) {
        const auto dated = NoteFile::read(files, partial);
        const auto counting = dated ? dated->counting(bootID) : std::nullopt;
        return counting ? counting->beginning().end : -1;
    }

    [[nodiscard]] std::string bytes() { return *files.content(NoteFile::pathOf(partial)); }

    void put(std::string bytes) { files.put(NoteFile::pathOf(partial), std::move(bytes)); }

    static inline const std::string name = "0A0B0C0D-0102-4304-8506-0708090A0B0C";
    static inline const Path partial = Path("/data/Partial") / name;
    MemoryFileManager files;
};

TEST_F(Notes, sayWhatTheyWereTold) {
    PartialNote several = note(10);
    several.isOnTrial = true;
    several.file.checksum.reset();
    several.parts.push_back({.first = 10, .written = {30, Checksum(2)}, .durable = {10, Checksum()}});
    several.parts.push_back({.first = 500, .written = {1000, std::nullopt}, .durable = {1000, std::nullopt}});
    const DatedNote dated{.number = 3, .bootID = boot, .note = several};
    EXPECT_EQ(DatedNote::parse(dated.encoded()), dated);
    EXPECT_EQ(DatedNote::parse(dated.encoded() + std::string(5, '\0') + "older"), dated);
    EXPECT_EQ(dated.counting(boot), several);
    EXPECT_EQ(several.beginning(), (NotedReach{10, Checksum(1)}));

    // After another start of the machine, or where the machine does not tell its starts apart.
    PartialNote durable = several;
    durable.parts = {several.parts[0], several.parts[2]};
    durable.parts[0].written = durable.parts[0].durable;
    EXPECT_EQ(dated.counting("another start"), durable);
    const DatedNote undated{.number = 3, .bootID = "", .note = several};
    EXPECT_EQ(undated.counting(""), durable);
}

TEST_F(Notes, areCutAnywhereAndNeverSayAnythingElse) {
    NoteFile file(files, partial, boot);
    ASSERT_TRUE(file.write(note(100)));
    ASSERT_TRUE(file.write(note(200)));
    const std::string whole = bytes();
    EXPECT_EQ(read(), 200);
    EXPECT_EQ(read("another start"), 100);
    const std::size_t first = DatedNote{1, boot, note(100)}.encoded().size();
    const std::size_t second = NoteFile::slotSize + DatedNote{2, boot, note(200)}.encoded().size();
    for (std::size_t length = 0; length <= whole.size(); length += length > second + 20 ? 997 : 1) {
        put(whole.substr(0, length));
        ASSERT_EQ(read(), length < first ? -1 : length < second ? 100 : 200) << "cut after " << length << " bytes";
    }
    for (std::size_t at = 0; at < second; at = at == first ? NoteFile::slotSize : at + 1) {
        std::string damaged = whole;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
        put(damaged);
        ASSERT_EQ(read(), at < NoteFile::slotSize ? 200 : 100) << "another byte at " << at;
    }
}

// A note that is half written, by whatever ended the process, leaves the one before; after that it goes on as ever.
TEST_F(Notes, areWrittenOverTheOlderOne) {
    NoteFile file(files, partial, boot);
    for (const ByteCount end : {100, 200, 300}) ASSERT_TRUE(file.write(note(end)));
    std::string torn = bytes();
    torn.replace(0, 200, std::string(200, '\0'));
    put(torn);
    EXPECT_EQ(read(), 200);
    NoteFile later(files, partial, boot);
    for (const ByteCount end : {400, 500}) {
        ASSERT_TRUE(later.write(note(end)));
        EXPECT_EQ(read(), end);
    }
    // One that is on the disk is not written over before the next one is there, too.
    const std::int64_t number = later.write(note(600)).value();
    later.noteDurable(number);
    const std::size_t slot = bytes().find("\n0 600 ") / NoteFile::slotSize * NoteFile::slotSize;
    const std::string durable = bytes().substr(slot, NoteFile::slotSize);
    for (const ByteCount end : {700, 800, 900}) {
        ASSERT_TRUE(later.write(note(end)));
        EXPECT_EQ(bytes().substr(slot, NoteFile::slotSize), durable);
        EXPECT_EQ(read(), end);
    }
    put("");  // killed in the moment in which it was made
    ASSERT_TRUE(NoteFile(files, partial, boot).write(note(50)));
    EXPECT_EQ(read(), 50);
}

TEST_F(Notes, areNotBelievedWhenNobodyCanHaveWrittenThem) {
    const std::string good = DatedNote{.number = 1, .bootID = boot, .note = note(100)}.encoded();

    struct Case {
        const char* what;
        const char* from;
        const char* to;
    };

    const Case cases[] = {
        {"another format", "tovri-note-1", "tovri-note-2"},
        {"another file's", "0A0B0C0D", "1A0B0C0D"},
        {"no file's", "0A0B0C0D", "../../xx"},
        {"a negative number", "tovri-note-1\n1\n", "tovri-note-1\n-1\n"},
        {"a number after which none can follow", "tovri-note-1\n1\n", "tovri-note-1\n9223372036854775807\n"},
        {"a negative length", "\n1000\n", "\n-1000\n"},
        {"more than 64 bits", "\n1000\n", "\n99999999999999999999\n"},
        {"offsets beyond the file", "\n1000\n", "\n99\n"},
        {"a negative offset", "0 100 ", "0 -100 "},
        {"a negative first byte", "\n0 100 ", "\n-1 100 "},
        {"nothing written", "0 100 ", "100 100 "},
        {"more durable than written", " 50 -", " 101 -"},
        {"less durable than nothing", "\n0 100 00000001 50", "\n60 100 00000001 50"},
        {"parts that overlap", " 50 -\n", " 50 -\n99 200 00000000 99 00000000\n"},
        {"parts in another order", "\n0 100 ", "\n500 600 00000000 500 00000000\n0 100 "},
        {"words too many", " 50 -\n", " 50 - 7\n"},
        {"no parts", "0 100 00000001 50 -\n", ""},
        {"a checksum that is none", "00000bf4", "0000000bf4"},
        {"a header more in a request", "\"v\"", "\"v\"\r"},
        {"nothing to know the file by", "\"v\"\n00000bf4", "\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        std::string text = good.substr(0, good.size() - 9);
        const std::size_t at = text.find(c.from);
        ASSERT_NE(at, std::string::npos);
        text.replace(at, std::string_view(c.from).size(), c.to);
        Checksum checksum;
        checksum.add(text);
        put(text + checksum.text() + '\n');
        EXPECT_EQ(read(), -1);
    }
    put(good);
    EXPECT_EQ(read(), 100);
    put(std::string(1 << 20U, 'x'));
    EXPECT_EQ(read(), -1);
    put("\n\n\n\n\n\n\n\n\n\n\n");
    EXPECT_EQ(read(), -1);
}

TEST_F(Notes, fitIntoTheirSlot) {
    PartialNote large = note(1);
    NoteFile file(files, partial, boot);
    ASSERT_TRUE(file.write(large));
    for (ByteCount first = 2; first < 1000; first += 2)
        large.parts.push_back({.first = first, .written = {first + 1, Checksum()}, .durable = {first, Checksum()}});
    EXPECT_FALSE(file.write(large));
    EXPECT_EQ(read(), 1);
}

// A token, which may be older or younger than the note, knows only what lies at the beginning.
TEST(PartialNote, whatEitherListSaysIsThere) {
    const auto part = [](ByteCount first, ByteCount end, ByteCount durable, bool isKnown = true) {
        NotedPart made{.first = first, .written = {end, Checksum()}, .durable = {durable, Checksum()}};
        if (!isKnown) made.written.checksum.reset();
        return made;
    };
    using Parts = std::vector<NotedPart>;
    const Parts note = {part(0, 40, 20), part(60, 80, 60), part(90, 100, 100)};
    EXPECT_EQ(united({part(0, 30, 30)}, note), (Parts{part(0, 40, 30), note[1], note[2]}));
    EXPECT_EQ(united({part(0, 50, 50)}, note), (Parts{part(0, 50, 50), note[1], note[2]}));
    EXPECT_EQ(united({part(0, 40, 40, false)}, note), (Parts{part(0, 40, 40), note[1], note[2]}));
    EXPECT_EQ(united({part(0, 70, 70)}, note), (Parts{part(0, 80, 70, false), note[2]}))
        << "of which no checksum is known";
    EXPECT_EQ(united({part(0, 100, 100)}, note), Parts{part(0, 100, 100)});
}

}  // namespace
}  // namespace tovri::test
