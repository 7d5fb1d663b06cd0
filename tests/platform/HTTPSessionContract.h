#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/HTTPSession.h"

namespace tovri::test {

// A session on a loop, with a far side that answers by the path: "/404" with that status and the method and the body
// that came, "/break" by closing the connection, "/silent" never.
class HTTPWorld {
public:
    virtual ~HTTPWorld() = default;

    [[nodiscard]] virtual HTTPSession& session() = 0;

    // Destroys the session, and runs what it has left on the loop.
    virtual void endSession() = 0;

    [[nodiscard]] virtual std::string url(const std::string& path) = 0;
    [[nodiscard]] virtual std::filesystem::path makeFile(const std::string& content) = 0;
    virtual void runUntil(const std::function<bool()>& condition) = 0;
};

class HTTPSessionContract : public testing::TestWithParam<std::function<std::unique_ptr<HTTPWorld>()>> {
public:
    [[nodiscard]] HTTPRequest request(const std::string& path, std::string method = "GET") const {
        HTTPRequest made;
        made.method = std::move(method);
        made.url = world->url(path);
        return made;
    }

    Result<HTTPResponse> answerTo(HTTPRequest request) {
        std::optional<Result<HTTPResponse>> answer;
        int answers = 0;
        const Subscription operation = world->session().send(std::move(request), [&](Result<HTTPResponse> result) {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            ++answers;
            answer = std::move(result);
        });
        EXPECT_EQ(answers, 0) << "answered before send returned";
        world->runUntil([&] { return answer.has_value(); });
        EXPECT_EQ(answers, 1);
        return answer.value();
    }

    std::unique_ptr<HTTPWorld> world = GetParam()();
    std::thread::id mainThread = std::this_thread::get_id();
};

TEST_P(HTTPSessionContract, answersOnceWhateverTheStatus) {
    for (const int status : {200, 201, 400, 404, 429, 500, 503}) {
        HTTPRequest sent = request("/" + std::to_string(status), "POST");
        sent.body = "a=b&c=%20";
        const Result<HTTPResponse> answer = answerTo(std::move(sent));
        ASSERT_TRUE(answer) << answer.error().description;
        EXPECT_EQ(answer->status, status);
        EXPECT_EQ(answer->body, "POST a=b&c=%20");
    }
}

TEST_P(HTTPSessionContract, saysWhyNoAnswerCame) {
    struct Case {
        std::string url;
        ErrorCase error;
        TransportFault fault = TransportFault::none;
    };

    const Case cases[] = {
        {world->url("/break"), ErrorCase::transport, TransportFault::brokenOff},
        {world->url("/silent"), ErrorCase::transport, TransportFault::silent},
        {"http://put.io/v2/files/list", ErrorCase::invalidURL},   // the token would travel in the clear
        {"http://127.0.0.1.put.io/list", ErrorCase::invalidURL},  // no loopback address
        {"http://localhost@put.io/list", ErrorCase::invalidURL},  // nor this
        {"file:///etc/passwd", ErrorCase::invalidURL},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.url);
        HTTPRequest sent = request("");
        sent.url = c.url;
        sent.timeout = std::chrono::seconds(1);
        const Result<HTTPResponse> answer = answerTo(std::move(sent));
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().code, c.error);
        EXPECT_EQ(answer.error().transportFault, c.fault);
        EXPECT_NE(answer.error().description, "");
    }
}

TEST_P(HTTPSessionContract, sendsAFileAndTellsHowFarItIs) {
    const std::string content(3'000'000, 'u');
    HTTPRequest sent = request("/200", "POST");
    sent.bodyFile = world->makeFile(content);
    std::vector<ByteCount> told;
    sent.onBodySent = [&](ByteCount count, ByteCount total) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        EXPECT_EQ(total, 3'000'000);
        told.push_back(count);
    };
    const Result<HTTPResponse> answer = answerTo(std::move(sent));
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_TRUE(answer->body == "POST " + content);
    EXPECT_TRUE(std::ranges::is_sorted(told));
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), 3'000'000);
}

TEST_P(HTTPSessionContract, aWithdrawnRequestIsSilent) {
    int answers = 0;
    for (const char* path : {"/200", "/break", "/silent"})
        static_cast<void>(world->session().send(request(path), [&](const auto&) { ++answers; }));  // gone at once
    Subscription one;
    Subscription other;
    one = world->session().send(request("/200"), [&](const auto&) {
        ++answers;
        other.reset();
    });
    other = world->session().send(request("/200"), [&](const auto&) {
        ++answers;
        one.reset();
    });
    world->runUntil([&] { return answers > 0; });
    EXPECT_TRUE(answerTo(request("/200")));
    EXPECT_TRUE(answerTo(request("/200")));
    EXPECT_EQ(answers, 1);
}

TEST_P(HTTPSessionContract, anAnswerMayEndItsSubscriptionAndAskAgain) {
    Subscription operation;
    std::vector<int> told;
    std::function<void()> ask = [&] {
        operation = world->session().send(request("/200"), [&, kept = std::make_unique<int>(7)](const auto&) {
            operation.reset();
            told.push_back(*kept);
            if (told.size() < 3) ask();
        });
    };
    ask();
    world->runUntil([&] { return told.size() == 3; });
    EXPECT_EQ(told, std::vector({7, 7, 7}));
}

TEST_P(HTTPSessionContract, subscriptionsOutliveTheSession) {
    std::vector<Subscription> operations;
    for (const char* path : {"/200", "/silent"})
        operations.push_back(world->session().send(request(path), [](const auto&) { FAIL(); }));
    world->endSession();
    operations.clear();
}

}  // namespace tovri::test
