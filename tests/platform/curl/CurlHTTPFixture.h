#pragma once

#include <optional>

#include <gtest/gtest.h>

#include "platform/curl/CurlHTTPSession.h"
#include "support/FakeSleepClock.h"
#include "support/HandRunLoop.h"

namespace tovri::test {

// A session on a loop that the test runs.
class CurlHTTPFixture : public testing::Test {
protected:
    Result<HTTPResponse> send(HTTPRequest request) {
        std::optional<Result<HTTPResponse>> answer;
        const Subscription operation =
            session_.send(std::move(request), [&](Result<HTTPResponse> result) { answer = std::move(result); });
        while (!answer && loop_.waitForPost()) loop_.runPosted();
        return answer ? *answer : failure(Error(ErrorCase::transport, "no answer in the test's time"));
    }

    HandRunLoop loop_;
    FakeSleepClock sleepClock_;
    CurlHTTPSession session_{loop_, sleepClock_};
};

}  // namespace tovri::test
