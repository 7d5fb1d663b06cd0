#include <chrono>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/GatheringReceiver.h"
#include "platform/curl/CurlHTTPFixture.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"

namespace tovri::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::size_t allowedHead = 256UL << 10;

// 2000 times the letter z, as gzip packs it.
const std::string packed(
    "\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03\xab\xaa\x1a\x05\xa3\x60\x14\x8c\x82\x51\x30\x0a\x46\xc1\x50\x07\x00\xe4"
    "\x74\x7f\x8c\xd0\x07\x00\x00",
    35);

std::string answerWith(const std::string& headers, const std::string& body) {
    return "HTTP/1.1 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string repeated(std::size_t least, const std::string& piece) {
    std::string text;
    while (text.size() < least) text += piece;
    return text;
}

// What the far side may send and how long it may take, of whatever kind the request is.
class CurlBoundsTest : public CurlHTTPFixture {
protected:
    using CurlHTTPFixture::send;

    Result<HTTPResponse> send(const std::string& reply, ByteCount answerLimit) {
        const ScriptedServer server([&](const std::string&) { return reply; });
        HTTPRequest request = requestFor(server.url("/"));
        request.answerLimit = answerLimit;
        return send(std::move(request));
    }

    TransferEnd fetch(const std::string& reply) {
        const ScriptedServer server([&](const std::string&) { return reply; });
        TransferRequest request;
        request.url = server.url("/");
        request.accept = [](const AnswerHead&) { return Result<void>(); };
        request.receiver = std::make_shared<GatheringReceiver>();
        std::optional<TransferEnd> end;
        const Subscription operation =
            transfers_.fetch(std::move(request), [&](TransferEnd ended) { end = std::move(ended); });
        while (!end && loop_.waitForPost()) loop_.runPosted();
        return end.value();
    }

    static HTTPRequest requestFor(std::string url) {
        HTTPRequest request;
        request.url = std::move(url);
        request.timeout = patience;
        return request;
    }

    CurlTransferSession transfers_{loop_, sleepClock_};
};

}  // namespace

TEST_F(CurlBoundsTest, anAnswerMayBeSoLongAndNoLonger) {
    struct Case {
        std::string reply;
        ByteCount limit;
        const char* refusal;  // none: nullptr
    };

    const Case cases[] = {
        {answerWith("", std::string(2000, 'z')), 2000, nullptr},
        {answerWith("", std::string(2000, 'z')), 1999, "sent more than 2 KB"},
        {answerWith("Content-Encoding: gzip\r\n", packed), 2000, nullptr},
        {answerWith("Content-Encoding: gzip\r\n", packed), 1999, "sent more than 2 KB"},  // unpacked
        {"HTTP/1.1 200 OK\r\n\r\n" + std::string(3'000'000, 'z'), 2000, "sent more than 2 KB"},
        {answerWith("Content-Encoding: x-gzip\r\n", packed), 2000, nullptr},
        {answerWith("Content-Encoding: gzip\r\n", packed + packed), 9000, "cannot be unpacked"},
        {answerWith("Content-Encoding: gzip\r\n", packed + "?"), 9000, "cannot be unpacked"},
        {answerWith("Content-Encoding: gzip\r\n", "packed"), 9000, "cannot be unpacked"},
        {answerWith("Content-Encoding: deflate\r\n", packed), 2000, "was not asked for"},
        {answerWith("Content-Encoding: br\r\nContent-Encoding: gzip\r\n", packed), 2000, "was not asked for"},
        {answerWith("Content-Encoding: gzip, gzip\r\n", packed), 2000, "was not asked for"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: gzip\r\n\r\n" + packed, 2000, "was not asked for"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reply.substr(0, 60));
        const auto answer = send(c.reply, c.limit);
        EXPECT_EQ(answer.has_value(), c.refusal == nullptr);
        if (answer) {
            EXPECT_EQ(answer->body, std::string(2000, 'z'));
        } else if (c.refusal != nullptr) {
            EXPECT_EQ(answer.error().code, ErrorCase::transport);
            EXPECT_EQ(answer.error().transportFault, TransportFault::none);
            EXPECT_THAT(answer.error().description, HasSubstr(c.refusal));
        }
    }
    const ScriptedServer server([&](const std::string&) { return answerWith("", ""); });
    EXPECT_TRUE(send(requestFor(server.url("/"))));
    EXPECT_THAT(server.requests().at(0), HasSubstr("\r\nAccept-Encoding: gzip\r\n"));
}

TEST_F(CurlBoundsTest, headersMayBeSoLongAndNoLonger) {
    struct Case {
        std::string reply;
        const char* refusal;  // none: nullptr
    };

    const char* const tooLong = "sent headers of more than 262 KB";
    const std::string header = "X-Filler: " + std::string(1000, 'x') + "\r\n";
    const std::string early = "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n";
    const std::string chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n";
    const Case cases[] = {
        {answerWith(repeated(allowedHead - 2000, header), ""), nullptr},
        {answerWith(repeated(allowedHead, header), ""), tooLong},
        {"HTTP/1.1 200 OK\r\nX-One: " + std::string(allowedHead, 'x') + "\r\n\r\n",
         "sent a header of more than 102 KB"},
        {repeated(allowedHead, early) + answerWith("", ""), tooLong},
        {chunked + repeated(allowedHead, header) + "\r\n", tooLong},  // behind the body
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.reply.substr(0, 60));
        const auto answer = send(c.reply, 1000);
        EXPECT_EQ(answer.has_value(), c.refusal == nullptr);
        if (!answer) EXPECT_THAT(answer.error().description, HasSubstr(c.refusal));
        const TransferEnd end = fetch(c.reply);
        EXPECT_EQ(end.error.has_value(), c.refusal != nullptr);
        if (end.error) EXPECT_THAT(end.error->description, HasSubstr(c.refusal));
    }
}

TEST_F(CurlBoundsTest, anAnswerThatComesInDropsEndsInTime) {
    sandbox::Sandbox sandbox;
    const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 1'000'000});
    sandbox.start();
    sandbox.faults().add(*sandbox::parseFault("storage:*:rate=50"));
    HTTPRequest request = requestFor(sandbox.storageURL() + "/download/" + std::to_string(file));
    request.timeLimit = std::chrono::milliseconds(600);
    const auto answer = send(std::move(request));
    ASSERT_FALSE(answer);
    EXPECT_THAT(answer.error().description, HasSubstr("took longer than 1 second"));
    EXPECT_EQ(answer.error().transportFault, TransportFault::silent);
}

TEST_F(CurlBoundsTest, aRedirectNeedsNoBody) {
    const ScriptedServer server([](const std::string& request) -> std::string {
        if (request.find("/end") != std::string::npos) return answerWith("", "there");
        const std::string head = "HTTP/1.1 302 Found\r\nLocation: /end\r\n";
        if (request.find("/long") != std::string::npos)
            return head + "Content-Length: 900000000\r\n\r\n" + std::string(100'000, 'x');
        if (request.find("/short") != std::string::npos) return head + "Content-Length: 9\r\n\r\nshort";
        return head + "\r\n" + std::string(3'000'000, 'x');
    });
    for (const char* path : {"/long", "/short", "/endless"}) {
        const auto answer = send(requestFor(server.url(path)));
        ASSERT_TRUE(answer) << answer.error().description;
        EXPECT_EQ(answer->body, "there");
    }
}

TEST_F(CurlBoundsTest, noNameAndPasswordOfARedirectAreUsed) {
    const ScriptedServer server([](const std::string& request) -> std::string {
        if (request.find("/end") != std::string::npos) return answerWith("", "there");
        const std::size_t host = request.find("Host: ") + 6;
        const std::string target = "http://me:secret@" + request.substr(host, request.find('\r', host) - host) + "/end";
        return "HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: " + target + "\r\n\r\n";
    });
    EXPECT_TRUE(send(requestFor(server.url("/"))));
    EXPECT_THAT(server.requests().at(1), Not(HasSubstr("Authorization")));
}

}  // namespace tovri::test
