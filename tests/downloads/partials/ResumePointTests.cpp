// What a token holds and which texts are none, with the checksum that stands in it.
#include <gtest/gtest.h>

#include "downloads/partials/ResumePoint.h"

namespace tovri::test {
namespace {

constexpr std::string_view digits = "123456789";
constexpr std::uint32_t digitsChecksum = 0xCBF43926;  // the check value of CRC-32/ISO-HDLC in the catalogues

TEST(Checksum, isTheSameHoweverTheBytesCome) {
    for (std::size_t cut = 0; cut <= digits.size(); ++cut) {
        Checksum first;
        first.add(digits.substr(0, cut));
        Checksum rest(first.value());
        rest.add(digits.substr(cut));
        rest.add("");
        EXPECT_EQ(rest.value(), digitsChecksum) << cut;
    }
    EXPECT_EQ(Checksum(0xCBF43926).text(), "cbf43926");
    EXPECT_EQ(Checksum(0xF).text(), "0000000f");
}

TEST(Checksum, isReadAsTheServiceWritesIt) {
    struct Case {
        const char* text = "";
        std::optional<std::uint32_t> value;
    };

    const Case cases[] = {
        {"cbf43926", 0xCBF43926},
        {"CBF43926", 0xCBF43926},
        {"cBf43926", 0xCBF43926},
        {"bf4", 0xBF4},  // without the zeros at its beginning
        {"0", 0},
        {"00000000", 0},
        {"ffffffff", 0xFFFFFFFF},
        {"", std::nullopt},
        {"0cbf43926", std::nullopt},  // nine
        {"0xbf43", std::nullopt},
        {"-1", std::nullopt},
        {"+1", std::nullopt},
        {" 1", std::nullopt},
        {"1 ", std::nullopt},
        {"cbf4392g", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto parsed = Checksum::parse(c.text);
        EXPECT_EQ(parsed ? std::optional(parsed->value()) : std::nullopt, c.value);
    }
}

ResumePoint sample() {
    return {.link = "https://s1.put.io/film?x=1",
            .validator = "\"tag\"",
            .length = 5'000'000'000,
            .offset = 4'999'999'999,
            .partial = *UUID::parse("00112233-4455-6677-8899-AABBCCDDEEFF"),
            .checksum = Checksum(0xF)};
}

TEST(ResumePoint, isReadAsItWasWritten) {
    ResumePoint unknown = sample();
    unknown.checksum.reset();
    ResumePoint whole = sample();
    whole.offset = whole.length;
    whole.validator.clear();
    whole.link.clear();
    for (const ResumePoint& point : {sample(), unknown, whole}) EXPECT_EQ(ResumePoint::parse(point.encoded()), point);
    EXPECT_TRUE(whole.isWhole());
}

// As versions wrote it that knew no checksum.
TEST(ResumePoint, readsTheFirstFormat) {
    const std::string text =
        "tovri-resume-1\n5000000000\n4999999999\n00112233-4455-6677-8899-AABBCCDDEEFF\n\"tag\"\nhttps://s1.put.io/"
        "film?x=1\n";
    ResumePoint expected = sample();
    expected.checksum.reset();
    EXPECT_EQ(ResumePoint::parse(text), expected);
}

TEST(ResumePoint, isNoneOfATextThatItCannotHaveWritten) {
    struct Case {
        const char* what;
        const char* from;
        const char* to;
    };

    const Case cases[] = {
        {"a later format", "tovri-resume-2", "tovri-resume-3"},
        {"the first one has a line less", "tovri-resume-2", "tovri-resume-1"},
        {"nothing has arrived", "4999999999", "0"},
        {"more than all", "4999999999", "5000000001"},
        {"a sign", "4999999999", "-1"},
        {"a sign", "4999999999", "+1"},
        {"no number", "4999999999", "1e3"},
        {"more than 63 bits", "5000000000", "9223372036854775808"},
        {"a path in place of the partial file's name", "00112233-4455-6677-8899-AABBCCDDEEFF", "../../queue.json"},
        {"a header of its own", "\"tag\"", "\"tag\"\r\rX: y"},
        {"no validator to go on with", "\"tag\"", ""},
        {"no link to go on with", "https://s1.put.io/film?x=1", ""},
        {"a control character in the link", "film", "fi\x7Flm"},
        {"one line more", "\"tag\"", "\"tag\"\nmore"},
        {"no end of the last line", "0000000f\n", "0000000f"},
    };
    const std::string text = sample().encoded();
    ASSERT_TRUE(ResumePoint::parse(text));
    for (const Case& c : cases) {
        std::string hostile = text;
        const auto at = hostile.find(c.from);
        ASSERT_NE(at, std::string::npos) << c.from;
        hostile.replace(at, std::string_view(c.from).size(), c.to);
        EXPECT_FALSE(ResumePoint::parse(hostile)) << c.what << ": " << c.to;
    }
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(ResumePoint::parse(text.substr(0, length))) << "cut after " << length;
}

}  // namespace
}  // namespace tovri::test
