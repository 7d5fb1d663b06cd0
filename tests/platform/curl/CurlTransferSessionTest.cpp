#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <future>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/GatheringReceiver.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/ComesTrue.h"
#include "support/FakeSleepClock.h"
#include "support/HandRunLoop.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using Receiver = std::shared_ptr<GatheringReceiver>;

class CurlTransferSessionTest : public testing::Test {
protected:
    struct Attempt {
        std::optional<TransferEnd> end;
        Subscription operation;
    };

    static TransferRequest requestFor(std::string url, std::shared_ptr<ByteReceiver> receiver) {
        TransferRequest request;
        request.url = std::move(url);
        request.idleLimit = patience;
        request.accept = [](const AnswerHead&) { return Result<void>(); };
        request.receiver = std::move(receiver);
        return request;
    }

    // For servers that send nothing, or must not count as such.
    static TransferRequest impatient(TransferRequest request) {
        request.idleLimit = std::chrono::seconds(1);
        return request;
    }

    std::unique_ptr<Attempt> begin(TransferRequest request) {
        auto attempt = std::make_unique<Attempt>();
        attempt->operation =
            session_->fetch(std::move(request), [attempt = attempt.get()](TransferEnd end) { attempt->end = end; });
        return attempt;
    }

    void waitUntil(const std::function<bool()>& condition) {
        while (!condition() && loop_.waitForPost()) loop_.runPosted();
    }

    TransferEnd endOf(const Attempt& attempt) {
        waitUntil([&] { return attempt.end.has_value(); });
        return attempt.end.value();
    }

    TransferEnd fetch(TransferRequest request) { return endOf(*begin(std::move(request))); }

    TransferEnd fetch(const std::string& url) { return fetch(requestFor(url, std::make_shared<GatheringReceiver>())); }

    // Without room, and wakes the waiting test when it is full.
    Receiver fullReceiver() {
        auto receiver = std::make_shared<GatheringReceiver>(0);
        receiver->onFull = [this] { loop_.post([] {}); };
        return receiver;
    }

    // A receiver that is full from its first piece on, and an impatient attempt that has come to it.
    std::pair<Receiver, std::unique_ptr<Attempt>> beginFull(const std::string& url) {
        Receiver receiver = fullReceiver();
        auto attempt = begin(impatient(requestFor(url, receiver)));
        waitUntil([&] { return receiver->isFull(); });
        return {receiver, std::move(attempt)};
    }

    // Until attempts would have ended that began to wait before.
    void outlastTheImpatient() {
        const ScriptedServer silent([](const std::string&) { return std::nullopt; });
        const auto receiver = std::make_shared<GatheringReceiver>();
        EXPECT_TRUE(fetch(impatient(requestFor(silent.url("/"), receiver))).error);
    }

    static std::string link(const sandbox::Sandbox& sandbox, sandbox::FileID file) {
        return sandbox.storageURL() + "/download/" + std::to_string(file);
    }

    HandRunLoop loop_;
    FakeSleepClock sleepClock_;
    std::unique_ptr<CurlTransferSession> session_ = std::make_unique<CurlTransferSession>(loop_, sleepClock_);
};

std::string truth(sandbox::Sandbox& sandbox, sandbox::FileID file) {
    const sandbox::Content content = sandbox.account().find(file)->content();
    std::string bytes(content.size(), '\0');
    content.read(0, bytes);
    return bytes;
}

}  // namespace

TEST_F(CurlTransferSessionTest, asksForNoMoreThanTheRange) {
    struct Case {
        ByteCount first = 0;
        std::optional<ByteCount> last;
        const char* validator = "";
        const char* range = "";    // as sent; empty for none
        const char* ifRange = "";  // likewise
    };

    const Case cases[] = {
        {0, std::nullopt, "\"tag\"", "", ""},
        {0, 9, "\"tag\"", "\r\nRange: bytes=0-9\r\n", ""},
        {5, std::nullopt, "", "\r\nRange: bytes=5-\r\n", ""},
        {5, 5, "\"tag\"", "\r\nRange: bytes=5-5\r\n", "\r\nIf-Range: \"tag\"\r\n"},
        {5'000'000'000, std::nullopt, "\"tag\"", "\r\nRange: bytes=5000000000-\r\n", "\r\nIf-Range: \"tag\"\r\n"},
    };
    for (const Case& c : cases) {
        const ScriptedServer server([](const std::string&) { return "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"; });
        TransferRequest request = requestFor(server.url("/"), std::make_shared<GatheringReceiver>());
        request.first = c.first;
        request.last = c.last;
        request.validator = c.validator;
        EXPECT_FALSE(fetch(std::move(request)).error);
        const std::string sent = server.requests().at(0);
        EXPECT_THAT(sent, HasSubstr("\r\nAccept-Encoding: identity\r\n"));
        EXPECT_THAT(sent, HasSubstr(c.range));
        EXPECT_THAT(sent, HasSubstr(c.ifRange));
        EXPECT_EQ(sent.find("\r\nRange:") == std::string::npos, c.range[0] == '\0');
        EXPECT_EQ(sent.find("\r\nIf-Range:") == std::string::npos, c.ifRange[0] == '\0');
    }
}

TEST_F(CurlTransferSessionTest, handsOnWhatWasAnnouncedAndSaysWhatWasWrong) {
    struct Case {
        std::optional<std::string> reply;
        const char* text = "";
        const char* bytes = "";
    };

    const Case cases[] = {
        {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort", "fewer bytes than it announced", "short"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nlonger", "more bytes than it announced", "long"},
        {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nshort\r\n", "fewer bytes than it announced",
         "short"},
        {"", "closed the connection without an answer", ""},
        {std::nullopt, "Nothing came from 127.0.0.1 for 1 second", ""},
        {"HTTP/1.1 302 Found\r\nLocation: http://example.com/secret\r\nContent-Length: 0\r\n\r\n", "not encrypted", ""},
    };
    for (const Case& c : cases) {
        for (const bool isSlowReceiver : {false, true}) {
            SCOPED_TRACE(c.text);
            const ScriptedServer server([&](const std::string&) { return c.reply; });
            const auto receiver = std::make_shared<GatheringReceiver>(isSlowReceiver ? 0 : 1);
            receiver->onFull = [&] { receiver->makeRoom(1); };
            const TransferRequest request = requestFor(server.url("/?secret"), receiver);
            const TransferEnd end = fetch(c.reply ? request : impatient(request));
            ASSERT_TRUE(end.error);
            EXPECT_THAT(end.error->description, HasSubstr(c.text));
            EXPECT_THAT(end.error->description, Not(HasSubstr("secret")));
            EXPECT_EQ(receiver->bytes(), c.bytes);
            EXPECT_EQ(end.received, static_cast<ByteCount>(receiver->bytes().size()));
        }
    }
}

TEST_F(CurlTransferSessionTest, followsRedirectsAndKeepsTheBytesAsTheyAre) {
    const ScriptedServer server([](const std::string& request) {
        if (request.find("/link") != std::string::npos)
            return "HTTP/1.1 302 Found\r\nLocation: /file\r\nETag: \"link\"\r\nContent-Length: 10\r\n\r\nnot these!";
        return "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nTransfer-Encoding: "
               "chunked\r\n\r\n5\r\n\x1f\x8b\x08xx\r\n0\r\n\r\n";
    });
    const auto receiver = std::make_shared<GatheringReceiver>();
    const TransferEnd end = fetch(requestFor(server.url("/link"), receiver));
    ASSERT_FALSE(end.error) << end.error->description;
    EXPECT_EQ(receiver->bytes(), "\x1f\x8b\x08xx");
    EXPECT_EQ(end.head.value().contentEncoding, "gzip");
    EXPECT_EQ(end.head->validator, "");
    EXPECT_EQ(end.head->bodyLength, std::nullopt);
}

TEST_F(CurlTransferSessionTest, goesOnWhenAnotherThreadHasMadeRoom) {
    for (const bool tls : {false, true}) {
        SCOPED_TRACE(tls);
        sandbox::SandboxSettings settings;
        settings.tls = tls;
        sandbox::Sandbox sandbox(settings);
        const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 2'000'003});
        sandbox.start();
        const TemporaryFolder folder;
        const std::string bundle = (folder.path / "ca.pem").string();
        std::ofstream(bundle) << sandbox.certificatePem();
        if (tls) ::setenv("CURL_CA_BUNDLE", bundle.c_str(), 1);
        session_ = std::make_unique<CurlTransferSession>(loop_, sleepClock_);
        ::unsetenv("CURL_CA_BUNDLE");

        std::vector<std::future<void>> others;
        const auto receiver = std::make_shared<GatheringReceiver>(0);
        receiver->onFull = [&] { others.push_back(std::async(std::launch::async, [&] { receiver->makeRoom(3); })); };
        const TransferEnd end = fetch(requestFor(link(sandbox, file), receiver));
        EXPECT_FALSE(end.error) << end.error->description;
        EXPECT_TRUE(receiver->bytes() == truth(sandbox, file));
        EXPECT_GT(others.size(), 5U);
    }
}

TEST_F(CurlTransferSessionTest, otherThreadsMayMakeRoomWhileTheAttemptOrTheSessionGoes) {
    sandbox::Sandbox sandbox;
    const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 1'000'000});
    sandbox.start();
    for (int round = 0; round < 40; ++round) {
        auto [receiver, attempt] = beginFull(link(sandbox, file));
        const auto other = std::async(std::launch::async, [&] { receiver->makeRoom(1); });
        if (round % 2 == 0) attempt->operation.reset();
        if (round % 4 != 0) session_ = std::make_unique<CurlTransferSession>(loop_, sleepClock_);
        EXPECT_EQ(other.wait_for(patience), std::future_status::ready);
        loop_.runPosted();
        EXPECT_FALSE(attempt->end);
    }
    EXPECT_FALSE(fetch(link(sandbox, file)).error);
}

TEST_F(CurlTransferSessionTest, aServerIsNotSilentWhileItsReceiverIsFull) {
    sandbox::Sandbox sandbox;
    const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 300'000});
    sandbox.start();
    sandbox.faults().add(*sandbox::parseFault("storage:*:after=1,stall=100000"));
    const auto [whole, wholeAttempt] = beginFull(link(sandbox, file));
    const auto [stalled, stalledAttempt] = beginFull(link(sandbox, file));
    outlastTheImpatient();
    EXPECT_FALSE(wholeAttempt->end || stalledAttempt->end);
    whole->makeRoom(GatheringReceiver::unlimited);
    stalled->makeRoom(GatheringReceiver::unlimited);
    EXPECT_FALSE(endOf(*wholeAttempt).error);
    EXPECT_TRUE(whole->bytes() == truth(sandbox, file));
    EXPECT_THAT(endOf(*stalledAttempt).error.value().description, HasSubstr("Nothing came"));
    EXPECT_EQ(stalledAttempt->end->received, 100'000);
}

TEST_F(CurlTransferSessionTest, anEndlessBodyWaitsOnTheOtherSide) {
    sandbox::Sandbox sandbox;
    const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 1'000'000'000'000});
    sandbox.start();
    const auto [receiver, attempt] = beginFull(link(sandbox, file));
    outlastTheImpatient();
    EXPECT_FALSE(attempt->end);
    sandbox.stop();
    EXPECT_LT(sandbox.log().statistics().storageBytes, 32'000'000U);  // what sockets and one read of the library hold
}

TEST_F(CurlTransferSessionTest, anExceptionEndsOnlyItsOwnAttempt) {
    class Exhausted final : public ByteReceiver {
    public:
        Taken take(std::string_view bytes) override {
            if (bytes == "take") throw std::bad_alloc();
            return bytes == "all" ? Taken::all : Taken::none;
        }

        void whenReady(std::move_only_function<void()>) override { throw std::bad_alloc(); }
    };

    const ScriptedServer server([](const std::string& request) {
        const std::string path = request.substr(5, request.find(' ', 5) - 5);
        return "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(path.size()) + "\r\n\r\n" + path;
    });
    for (const char* path : {"take", "wait", "accept", "all"}) {
        SCOPED_TRACE(path);
        const std::string url = server.url(std::string("/") + path);
        TransferRequest request = requestFor(url, std::make_shared<Exhausted>());
        const bool throwsEarly = url.ends_with("accept");
        request.accept = [throwsEarly](const AnswerHead&) -> Result<void> {
            if (throwsEarly) throw std::bad_alloc();
            return {};
        };
        const TransferEnd end = fetch(std::move(request));
        EXPECT_EQ(end.error.has_value(), !url.ends_with("all"));
        if (end.error) EXPECT_THAT(end.error->description, HasSubstr("no memory left"));
    }
}

TEST_F(CurlTransferSessionTest, waitsForOneOfSixConnectionsWithoutLosingPatience) {
    sandbox::Sandbox sandbox;
    const auto file = sandbox.account().addFile(sandbox::rootID, {"file", 100'000});
    sandbox.start();
    std::vector<Receiver> receivers;
    std::vector<std::unique_ptr<Attempt>> attempts;
    for (int i = 0; i < 8; ++i) {
        receivers.push_back(fullReceiver());
        attempts.push_back(begin(impatient(requestFor(link(sandbox, file), receivers.back()))));
    }
    const auto connections = [&] {
        return std::ranges::count_if(receivers, [](const Receiver& receiver) { return receiver->isFull(); });
    };
    waitUntil([&] { return connections() == 6; });
    outlastTheImpatient();
    EXPECT_EQ(connections(), 6);
    for (const Receiver& receiver : receivers) receiver->makeRoom(GatheringReceiver::unlimited);
    for (const auto& attempt : attempts) EXPECT_FALSE(endOf(*attempt).error);
}

}  // namespace tovri::test
