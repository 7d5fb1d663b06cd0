#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <semaphore>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/curl/CurlHTTPFixture.h"
#include "platform/curl/ScriptedServer.h"
#include "sandbox/Sandbox.h"
#include "support/ComesTrue.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const char* const token = "Bearer secret";

std::string answerWith(const std::string& status, const std::string& headers, const std::string& body) {
    return "HTTP/1.1 " + status + "\r\n" + headers +
           "Connection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// Gives what the test gives it.
class GivenAllowance final : public ByteAllowance {
public:
    explicit GivenAllowance(ByteCount given) : given_(given) {}

    // Runs on the session's thread whenever somebody begins to wait.
    std::function<void()> onEmpty = [] {};

    ByteCount take(ByteCount wanted) override {
        const std::lock_guard lock(mutex_);
        const ByteCount taken = std::min(wanted, given_);
        given_ -= taken;
        return taken;
    }

    [[nodiscard]] std::optional<BytesPerSecond> pace() const override { return std::nullopt; }

    void giveBack(ByteCount unused) override { give(unused); }

    void whenReady(std::move_only_function<void()> ready) override {
        {
            const std::lock_guard lock(mutex_);
            ready_ = std::move(ready);
        }
        onEmpty();
    }

    void give(ByteCount more) {
        std::move_only_function<void()> ready;
        {
            const std::lock_guard lock(mutex_);
            given_ += more;
            ready = std::exchange(ready_, nullptr);
        }
        if (ready) ready();
    }

private:
    std::mutex mutex_;
    ByteCount given_;
    std::move_only_function<void()> ready_;
};

class CurlHTTPSessionTest : public CurlHTTPFixture {
protected:
    static HTTPRequest authorized(std::string method, std::string url, std::string body = {}) {
        HTTPRequest request;
        request.method = std::move(method);
        request.url = std::move(url);
        request.headers = {{"Authorization", token}, {"Content-Type", "text/x-form"}};
        request.body = std::move(body);
        request.timeout = patience;
        return request;
    }
};

}  // namespace

TEST_F(CurlHTTPSessionTest, sendsWhatItIsGivenAndGathersTheAnswer) {
    const ScriptedServer server([](const std::string&) {
        return "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" +
               answerWith("418 Other", "Retry-After: 7\r\n", "the body");
    });
    const auto answer = send(authorized("POST", server.url("/v2/x?a=%20b"), std::string(2'000'000, 'x')));
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_EQ(answer->status, 418);
    EXPECT_EQ(answer->body, "the body");
    EXPECT_EQ(answer->retryHints.retryAfter, "7");

    const std::string request = server.requests().at(0);
    EXPECT_THAT(request, StartsWith("POST /v2/x?a=%20b HTTP/1.1\r\n"));
    EXPECT_THAT(request, HasSubstr("\r\nAuthorization: Bearer secret\r\n"));
    EXPECT_THAT(request, HasSubstr("\r\nContent-Length: 2000000\r\n"));
    EXPECT_THAT(request, Not(HasSubstr("Expect")));  // a server that ignores it costs a second each
}

TEST_F(CurlHTTPSessionTest, sendsNoMoreOfABodyThanItsAllowanceGives) {
    const TemporaryFolder folder;
    const std::string content(300'000, 'x');
    std::ofstream(folder.path / "file") << content;
    const ScriptedServer server([](const std::string&) { return answerWith("200 OK", "", "done"); });
    const auto allowance = std::make_shared<GivenAllowance>(1000);
    int pauses = 0;
    ByteCount sentAtPause = 0;
    allowance->onEmpty = [&] {
        loop_.post([&] {
            ++pauses;
            allowance->give(100'000);
        });
    };
    HTTPRequest request = authorized("POST", server.url("/upload"));
    request.bodyFile = folder.path / "file";
    request.bodyAllowance = allowance;
    request.onBodySent = [&](ByteCount sent, ByteCount) {
        if (pauses == 0) sentAtPause = sent;
    };
    const auto answer = send(std::move(request));
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_EQ(answer->body, "done");
    EXPECT_EQ(pauses, 3);
    EXPECT_LE(sentAtPause, 1000);
    EXPECT_TRUE(server.requests().at(0).ends_with("\r\n\r\n" + content));
}

TEST_F(CurlHTTPSessionTest, repeatsARequestAsTheRedirectAsksAndSendsNothingElsewhere) {
    struct Case {
        const char* status;
        const char* method;
        bool repeatsBody;
    };

    const Case cases[] = {
        {"301 Moved", "POST", false},    {"302 Found", "POST", false},    {"303 See Other", "POST", false},
        {"307 Temporary", "POST", true}, {"308 Permanent", "POST", true}, {"302 Found", "GET", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        const ScriptedServer other([](const std::string&) { return answerWith("200 OK", "", "there"); });
        const ScriptedServer first([&](const std::string& request) {
            if (request.find("/end") != std::string::npos) return answerWith("200 OK", "", "here");
            const bool isStart = request.find("/start") != std::string::npos;
            const std::string target = isStart ? "/next" : request.find("/next") != std::string::npos ? "/end" : "";
            return answerWith(c.status, "Location: " + (target.empty() ? other.url("/") : target) + "\r\n", "not this");
        });
        const bool hasBody = std::string_view(c.method) == "POST";
        const auto answer = send(authorized(c.method, first.url("/start"), hasBody ? "form" : ""));
        ASSERT_TRUE(answer) << answer.error().description;
        EXPECT_EQ(answer->body, "here");
        const std::string repeated = first.requests().at(2);
        EXPECT_THAT(repeated, HasSubstr(token));
        EXPECT_THAT(repeated, StartsWith(c.repeatsBody ? "POST /end" : "GET /end"));
        EXPECT_EQ(repeated.ends_with("\r\n\r\nform"), c.repeatsBody);
        EXPECT_EQ(repeated.find("text/x-form") != std::string::npos, c.repeatsBody || !hasBody);

        const auto elsewhere = send(authorized(c.method, first.url("/leave"), hasBody ? "form" : ""));
        EXPECT_EQ(elsewhere.has_value(), !hasBody);
        EXPECT_EQ(other.requests().empty(), hasBody);
        if (!elsewhere) EXPECT_EQ(elsewhere.error().code, ErrorCase::transport);  // it may have done what was asked
        if (elsewhere) EXPECT_THAT(other.requests().at(0), Not(HasSubstr("Authorization")));
    }
}

TEST_F(CurlHTTPSessionTest, saysWhatFailedWithoutTellingSecrets) {
    struct Case {
        std::optional<std::string> reply;
        ErrorCase error = ErrorCase::transport;
        const char* text = "";
    };

    const Case cases[] = {
        {"", ErrorCase::transport, "closed the connection without an answer"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort", ErrorCase::transport, "fewer bytes than it announced"},
        {"HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\nlonger", ErrorCase::transport, "more bytes than it announced"},
        {std::nullopt, ErrorCase::transport, "Nothing came from 127.0.0.1 for 1 second"},
        {answerWith("302 Found", "Location: ?again\r\n", ""), ErrorCase::transport, "redirects too often"},
        {answerWith("302 Found", "Location: http://put.io/\r\n", ""), ErrorCase::invalidURL, "not encrypted"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const ScriptedServer server([&](const std::string&) { return c.reply; });
        HTTPRequest request = authorized("GET", server.url("/files?oauth_token=secret"));
        if (!c.reply) request.timeout = std::chrono::seconds(1);
        const auto answer = send(std::move(request));
        ASSERT_FALSE(answer);
        EXPECT_EQ(answer.error().code, c.error);
        EXPECT_THAT(answer.error().description, HasSubstr(c.text));
        EXPECT_THAT(answer.error().description, Not(HasSubstr("secret")));
    }
    const auto unheard = send(authorized("GET", "http://127.0.0.1:1/?secret"));
    ASSERT_FALSE(unheard);
    EXPECT_EQ(unheard.error().description, "Could not connect to 127.0.0.1; check the internet connection and retry.");
    EXPECT_EQ(unheard.error().transportFault, TransportFault::unreachable);
    const auto nameless = send(authorized("GET", "https://name.invalid/?secret"));
    ASSERT_FALSE(nameless);
    EXPECT_EQ(nameless.error().transportFault, TransportFault::unresolved);
}

TEST_F(CurlHTTPSessionTest, givesStatusZeroToWhatIsNotHTTP) {
    const ScriptedServer server([](const std::string&) { return "SSH-2.0-Server\r\n"; });
    const auto answer = send(authorized("GET", server.url("/")));
    ASSERT_TRUE(answer) << answer.error().description;
    EXPECT_EQ(answer->status, 0);
}

TEST_F(CurlHTTPSessionTest, aWithdrawnRequestNeverAnswers) {
    std::counting_semaphore arrived(0);
    const ScriptedServer server([&](const std::string&) {
        arrived.release();
        return answerWith("200 OK", "", "");
    });
    bool isAnswered = false;
    Subscription operation = session_.send(authorized("GET", server.url("/")), [&](const auto&) { isAnswered = true; });
    ASSERT_TRUE(loop_.waitForPost());
    operation.reset();  // the answer is posted, but not delivered
    loop_.runPosted();
    EXPECT_FALSE(isAnswered);

    for (int round = 0; round < 50; ++round) {
        while (arrived.try_acquire()) continue;
        Subscription soonGone =
            session_.send(authorized("GET", server.url("/")), [&](const auto&) { isAnswered = true; });
        if (round % 2 == 0) EXPECT_TRUE(arrived.try_acquire_for(patience));  // its answer is under way
        soonGone.reset();
        loop_.runPosted();
    }
    EXPECT_TRUE(send(authorized("GET", server.url("/"))));  // after all the others
    EXPECT_FALSE(isAnswered);
}

TEST(CurlHTTPSession, trustsOnlyCertificatesThatVerify) {
    sandbox::SandboxSettings settings;
    settings.tls = true;
    sandbox::Sandbox sandbox(settings);
    sandbox.start();
    const TemporaryFolder folder;
    const std::string bundle = (folder.path / "ca.pem").string();
    std::ofstream(bundle) << sandbox.certificatePem();

    for (const bool isTrusted : {false, true}) {
        if (isTrusted) ::setenv("CURL_CA_BUNDLE", bundle.c_str(), 1);
        HandRunLoop loop;
        const FakeSleepClock sleepClock;
        CurlHTTPSession session(loop, sleepClock);
        ::unsetenv("CURL_CA_BUNDLE");
        std::optional<Result<HTTPResponse>> answer;
        HTTPRequest request;
        request.url = sandbox.apiURL() + "/v2/files/list?parent_id=0";
        const Subscription operation = session.send(request, [&](auto result) { answer = std::move(result); });
        while (!answer && loop.waitForPost()) loop.runPosted();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->has_value(), isTrusted);
        if (!*answer) EXPECT_THAT(answer->error().description, HasSubstr("certificate of 127.0.0.1 does not verify"));
    }
}

}  // namespace tovri::test
