#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/running/receiving/AnswerCheck.h"

namespace tovri::test {
namespace {

AnswerHead head(int status, std::optional<ByteCount> length, std::optional<ContentRange> range = {},
                std::string validator = "\"a\"") {
    AnswerHead made;
    made.status = status;
    made.bodyLength = length;
    made.contentRange = range;
    made.validator = std::move(validator);
    return made;
}

ExpectedAnswer rest(bool hasListedChecksum = false) {
    return {
        .offset = 40, .length = 100, .validator = "\"a\"", .listedSize = 100, .hasListedChecksum = hasListedChecksum};
}

// "length validator limit", or the failure.
std::string outcome(const ExpectedAnswer& expected, const AnswerHead& answer) {
    const Result<AnnouncedFile> checked = checkAnswer(expected, answer);
    if (!checked) return checked.error().description;
    return (checked->length ? std::to_string(*checked->length) : "unknown") + " " + checked->validator + " " +
           std::to_string(checked->limit);
}

TEST(AnswerCheck, aWholeFileIsAsLongAsAnnouncedOrElseAsListed) {
    struct Case {
        const char* what = "";
        ByteCount listedSize = 0;
        AnswerHead answer;
        const char* expected = "";
    };

    const Case cases[] = {
        {"as listed", 100, head(200, 100), "100 \"a\" 100"},
        {"announced otherwise: the listing may be old", 100, head(200, 153), "153 \"a\" 153"},
        {"announced, not listed", 0, head(200, 100), "100 \"a\" 100"},
        {"not announced", 100, head(200, std::nullopt), "unknown \"a\" 100"},
        {"neither", 0, head(200, std::nullopt), "unknown \"a\" -1"},
        {"a size that no file has", -1, head(200, std::nullopt), "unknown \"a\" -1"},
        {"announced as empty", 100, head(200, 0), "0 \"a\" 0"},
        {"without a validator", 100, head(200, 100, {}, ""), "100  100"},
        {"a part, unasked", 100, head(206, 100, ContentRange{0, 99, 100}),
         "The server sent a part of the file; retry."},
        {"an error page", 100, head(503, 100), "HTTP error 503 from put.io."},
        {"a redirect that leads nowhere", 100, head(302, 100), "HTTP error 302 from put.io."},
    };
    for (const Case& c : cases) {
        ExpectedAnswer expected;
        expected.listedSize = c.listedSize;
        EXPECT_EQ(outcome(expected, c.answer), c.expected) << c.what;
    }

    for (const ExpectedAnswer& expected : {ExpectedAnswer{}, rest(), rest(true)}) {
        AnswerHead encoded = head(expected.offset > 0 ? 206 : 200, 60, ContentRange{40, 99, 100});
        encoded.contentEncoding = "gzip";
        EXPECT_THAT(outcome(expected, encoded), testing::HasSubstr("in another form"));
    }
}

TEST(AnswerCheck, aPartIsExactlyThatPart) {
    struct Case {
        const char* what = "";
        AnswerHead answer;
        bool isAccepted = false;
    };

    const Case cases[] = {
        {"as asked", head(206, 20, ContentRange{40, 59, 100}), true},
        {"to the end", head(206, 60, ContentRange{40, 99, 100})},
        {"too short", head(206, 19, ContentRange{40, 58, 100})},
        {"of another file", head(206, 20, ContentRange{40, 59, 101})},
        {"as long as it says, but not as the range says", head(206, 60, ContentRange{40, 59, 100})},
        {"the whole file", head(200, 100)},
    };
    for (const Case& c : cases) {
        ExpectedAnswer expected = rest();
        expected.end = 60;
        EXPECT_EQ(outcome(expected, c.answer) == "100 \"a\" 100", c.isAccepted) << c.what;
    }
    ExpectedAnswer beginning;
    beginning.end = 40;
    beginning.length = 100;
    EXPECT_EQ(outcome(beginning, head(206, 40, ContentRange{0, 39, 100})), "100 \"a\" 100");
    EXPECT_NE(outcome(beginning, head(200, 100)), "100 \"a\" 100");
}

TEST(AnswerCheck, theRestIsExactlyTheRest) {
    struct Case {
        const char* what = "";
        AnswerHead answer;
        bool isAccepted = false;
        bool isAcceptedWithChecksum = false;
    };

    const Case cases[] = {
        {"as asked", head(206, 60, ContentRange{40, 99, 100}), true, true},
        {"its length unsaid", head(206, std::nullopt, ContentRange{40, 99, 100}), true, true},
        {"its validator unsaid", head(206, 60, ContentRange{40, 99, 100}, ""), true, true},
        {"another machine's validator", head(206, 60, ContentRange{40, 99, 100}, "\"b\""), false, true},
        {"the whole file", head(200, 100), false, false},
        {"one byte late", head(206, 59, ContentRange{41, 99, 100}), false, false},
        {"one byte early", head(206, 61, ContentRange{39, 99, 100}), false, false},
        {"to another end", head(206, 59, ContentRange{40, 98, 100}), false, false},
        {"of a longer file", head(206, 60, ContentRange{40, 99, 101}), false, false},
        {"of a longer file, to its end", head(206, 61, ContentRange{40, 100, 101}), false, false},
        {"of an unknown part", head(206, 60), false, false},
        {"longer than its range", head(206, 61, ContentRange{40, 99, 100}), false, false},
        {"beyond the end", head(416, 0), false, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(checkAnswer(rest(), c.answer).has_value(), c.isAccepted) << c.what;
        EXPECT_EQ(checkAnswer(rest(true), c.answer).has_value(), c.isAcceptedWithChecksum) << c.what;
    }
    EXPECT_EQ(outcome(rest(), head(206, 60, ContentRange{40, 99, 100}, "")), "100 \"a\" 100")
        << "what was known goes on being known";
    EXPECT_EQ(outcome(rest(true), head(206, 60, ContentRange{40, 99, 100}, "\"b\"")), "100 \"b\" 100");
}

}  // namespace
}  // namespace tovri::test
