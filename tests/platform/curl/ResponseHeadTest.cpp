#include <gtest/gtest.h>

#include "platform/curl/answers/ResponseHead.h"

namespace tovri {

TEST(ResponseHead, trustsOnlyWhatTellsAChangedContentApart) {
    struct Case {
        const char* entityTag;
        const char* lastModified;
        const char* validator;
    };

    const char* const date = "Sat, 07 Sep 2013 21:32:03 GMT";
    const Case cases[] = {
        {R"("abc")", date, R"("abc")"},
        {R"(W/"abc")", date, date},  // the same weak tag may stand for other bytes
        {R"(W/"abc")", "", ""},
        {"abc", "", ""},  // no tag at all without its quotes
        {"\"", "", ""},
        {"", date, date},
        {"", "", ""},
    };
    for (const Case& c : cases) {
        ResponseHead head;
        head.read(std::string("etag:") + c.entityTag + "\r\n");
        head.read(std::string("LAST-MODIFIED: ") + c.lastModified + " \r\n");
        EXPECT_EQ(head.answer().validator, c.validator) << c.entityTag;
    }
}

TEST(ResponseHead, knowsTheBodysLengthOnlyWithoutATransferCoding) {
    ResponseHead head;
    head.read("Content-Length: 100\r\n");
    EXPECT_EQ(head.bodyLength(), 100);
    head.read("Transfer-Encoding: chunked\r\n");
    EXPECT_EQ(head.bodyLength(), std::nullopt);
}

TEST(ResponseHead, namesTheEncodingOfBytesThatAreNotTheFilesOwn) {
    ResponseHead head;
    head.read("Content-Encoding: Identity\r\n");
    EXPECT_EQ(head.answer().contentEncoding, "");
    head.read("content-encoding: gzip\r\n");
    head.read("Content-Encoding: identity\r\n");
    EXPECT_EQ(head.answer().contentEncoding, "gzip");
    head.read("Content-Encoding: br\r\n");
    EXPECT_EQ(head.answer().contentEncoding, "gzip, br");
}

TEST(ResponseHead, passesOnWhenToAskAgain) {
    ResponseHead head;
    EXPECT_EQ(head.answer().retryHints.retryAfter, "");
    head.read("retry-after:  120 \r\n");
    head.read("Date: Sat, 07 Sep 2013 21:32:03 GMT\r\n");
    head.read("X-RateLimit-Reset: 1378589523\r\n");
    const RetryHints hints = head.answer().retryHints;
    EXPECT_EQ(hints.retryAfter, "120");
    EXPECT_EQ(hints.date, "Sat, 07 Sep 2013 21:32:03 GMT");
    EXPECT_EQ(hints.rateLimitReset, "1378589523");
}

}  // namespace tovri
