#include <gtest/gtest.h>

#include "downloads/retrying/Fault.h"
#include "downloads/retrying/RetryAfter.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using Blame = Fault::Blame;

TEST(RetryAfter, countsADateFromTheAnswersOwnClock) {
    struct Case {
        RetryHints hints = {};
        Refusal refusal = {};
        std::optional<std::chrono::seconds> expected = {};
    };

    const std::string date = "Sun, 06 Nov 1994 08:49:37 GMT";
    const Case cases[] = {
        {{}, Refusal::tooManyRequests, std::nullopt},
        {{"120", date, ""}, Refusal::other, 120s},
        {{"0", date, ""}, Refusal::other, 0s},
        {{"99999999999999999999", "", ""}, Refusal::other, 3600s},  // at most an hour
        {{"-5", date, ""}, Refusal::other, std::nullopt},
        {{"soon", date, ""}, Refusal::other, std::nullopt},
        {{"Sun, 06 Nov 1994 08:50:37 GMT", date, ""}, Refusal::other, 60s},
        {{"Sun, 06 Nov 1994 08:50:37 GMT", "", ""}, Refusal::other, std::nullopt},  // from when?
        {{"Sun, 06 Nov 1994 07:00:00 GMT", date, ""}, Refusal::other, 0s},          // it is past
        {{"Sunday, 06-Nov-94 08:49:38 GMT", "Sun Nov  6 08:49:37 1994", ""}, Refusal::other, 1s},
        {{"", date, "784111787"}, Refusal::tooManyRequests, 3600s},  // too small for a date: a time to wait
        {{"", "Sun, 09 Sep 2001 01:46:40 GMT", "1000000030"}, Refusal::tooManyRequests, 30s},
        {{"", "Sun, 09 Sep 2001 01:46:40 GMT", "1000000030"}, Refusal::other, std::nullopt},  // it has another reason
        {{"7", "", "30"}, Refusal::tooManyRequests, 7s},
        {{"", "", "30"}, Refusal::tooManyRequests, 30s},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.hints.retryAfter + " | " + c.hints.date + " | " + c.hints.rateLimitReset);
        EXPECT_EQ(retryAfter(c.hints, c.refusal), c.expected);
    }
    for (const char* wrong :
         {"", "Sun, 06 Nov 1994 08:49:37 CET", "Sun, 31 Feb 1994 08:49:37 GMT", "Sun, 06 Nov 1994 24:49:37 GMT",
          "Sun, 06 Nov 1994 08:49 GMT", "06 Nov 1994 08:49:37 GMT"})
        EXPECT_FALSE(parseHTTPDate(wrong)) << wrong;
}

TEST(Fault, saysWhatIsTriedAgainAndWhomToBlame) {
    const auto status = [](int code) {
        Error error(ErrorCase::httpStatus, "HTTP error from put.io.");
        error.httpStatus = code;
        return error;
    };
    for (const int code : {408, 425, 500}) EXPECT_EQ(faultOf(status(code)).value().blame, Blame::item) << code;
    for (const int code : {502, 503, 504}) EXPECT_EQ(faultOf(status(code)).value().blame, Blame::perhapsHost) << code;
    for (const int code : {301, 400, 401, 403, 404, 410, 416, 501, 505}) EXPECT_FALSE(faultOf(status(code))) << code;
    for (const int code : {401, 403, 404, 410}) EXPECT_TRUE(isExpiredLink(status(code))) << code;
    for (const int code : {400, 405, 409, 500}) EXPECT_FALSE(isExpiredLink(status(code))) << code;
    EXPECT_EQ(faultOf(status(429)).value().blame, Blame::host);
    EXPECT_EQ(faultOf({ErrorCase::rateLimited, "Wait."}).value().reason, "HTTP error 429");

    const auto reasonOf = [](TransportFault fault, const char* text) { return faultOf({fault, text}).value().reason; };
    EXPECT_EQ(reasonOf(TransportFault::unresolved, "Could not find put.io; check the connection."),
              "could not find put.io");
    EXPECT_EQ(reasonOf(TransportFault::brokenOff, "put.io closed the connection."), "put.io closed the connection");
    EXPECT_EQ(faultOf({TransportFault::unreachable, "x"}).value().blame, Blame::host);
    EXPECT_EQ(faultOf({TransportFault::silent, "x"}).value().blame, Blame::item);
    EXPECT_FALSE(faultOf({TransportFault::none, "The certificate does not verify."}));
    EXPECT_FALSE(faultOf({ErrorCase::diskFull, "x"}));
}

}  // namespace
}  // namespace tovri::test
