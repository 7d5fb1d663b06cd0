#include "service/PutIOAPI.h"
#include "service/ServiceFixture.h"
#include "service/records/PutIOFileList.h"

namespace tovri {
namespace {

using Header = std::pair<std::string, std::string>;
using StatusResponse = PutIOAPI::StatusResponse;

class PutIOAPITest : public test::ServiceFixture {};

TEST_F(PutIOAPITest, sendsAuthorisedRequests) {
    ASSERT_TRUE(run(api.get<StatusResponse>("/files/list", {{"parent_id", "0"}, {"q", "a&b=c+d/é%"}}, never())));
    ASSERT_TRUE(run(api.post<StatusResponse>("/x", {{"k=", "a+b c"}, {"l", "1;2?~"}}, never())));
    ASSERT_TRUE(run(api.post<StatusResponse>("/x", {}, never())));
    ASSERT_EQ(http.requests.size(), 3U);

    const HTTPRequest& get = http.requests[0];
    EXPECT_EQ(get.method, "GET");
    EXPECT_EQ(get.url, "https://api.put.io/v2/files/list?parent_id=0&q=a%26b%3Dc+d/%C3%A9%25");
    EXPECT_EQ(get.headers, (std::vector<Header>{{"Authorization", "Bearer secret"}}));
    EXPECT_EQ(get.timeout, std::chrono::seconds(60));
    const HTTPRequest& post = http.requests[1];
    EXPECT_EQ(post.method, "POST");
    EXPECT_EQ(post.url, "https://api.put.io/v2/x");
    EXPECT_EQ(post.body, "k%3D=a%2Bb%20c&l=1;2?~");
    EXPECT_EQ(post.headers, (std::vector<Header>{{"Authorization", "Bearer secret"},
                                                 {"Content-Type", "application/x-www-form-urlencoded"}}));
    EXPECT_EQ(http.requests[2].body, "");
}

TEST_F(PutIOAPITest, judgesAnAnswerByItsStatus) {
    struct Case {
        int status;
        ErrorCase code;
        const char* description;
    };

    const Case cases[] = {
        {0, ErrorCase::invalidResponse, "Invalid response from put.io."},
        {199, ErrorCase::httpStatus, "HTTP error 199 from put.io."},
        {302, ErrorCase::httpStatus, "HTTP error 302 from put.io."},
        {429, ErrorCase::rateLimited, "Rate limited by put.io. Please wait a moment."},
        {503, ErrorCase::httpStatus, "HTTP error 503 from put.io."},
        {401, ErrorCase::notAuthenticated, "Not authenticated. Please sign in again."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.status);
        answerWith(c.status, R"({"status":"OK"})");
        const auto failed = run(api.get<StatusResponse>("/x", {}, never()));
        ASSERT_FALSE(failed);
        EXPECT_EQ(failed.error().code, c.code);
        EXPECT_EQ(failed.error().description, c.description);
        EXPECT_EQ(failed.error().httpStatus, c.code == ErrorCase::httpStatus ? c.status : 0);
        EXPECT_EQ(auth.isAuthenticated(), c.status != 401);
    }
    EXPECT_TRUE(log.lines.empty());

    const std::size_t sent = http.requests.size();  // signed out by the 401
    EXPECT_EQ(run(api.post<StatusResponse>("/x", {}, never())).error().code, ErrorCase::notAuthenticated);
    EXPECT_EQ(http.requests.size(), sent);

    EXPECT_TRUE(auth.signInWithToken("secret"));
    for (const int status : {429, 503}) {
        answer = HTTPResponse{status, "", {.retryAfter = "120", .date = {}, .rateLimitReset = {}}};
        EXPECT_EQ(run(api.get<StatusResponse>("/x", {}, never())).error().retryHints.retryAfter, "120");
    }
    answerWith(299, R"({"status":"OK"})");
    EXPECT_TRUE(run(api.get<StatusResponse>("/x", {}, never())));
    answer = failure({ErrorCase::transport, "No route to put.io."});
    EXPECT_EQ(run(api.get<StatusResponse>("/x", {}, never())).error().description, "No route to put.io.");
    EXPECT_EQ(run(api.get<StatusResponse>("/a b", {}, never())).error().description, "Invalid API URL.");
}

TEST_F(PutIOAPITest, aLateRefusalDoesNotUndoANewSignIn) {
    answerWith(401, "");
    const auto refused = start(api.get<StatusResponse>("/x", {}, never()));
    EXPECT_TRUE(auth.signInWithToken("newer"));
    loop.advance(http.latency);
    ASSERT_TRUE(refused->has_value());
    EXPECT_EQ((*refused)->error().code, ErrorCase::notAuthenticated);
    EXPECT_EQ(auth.token(), "newer");
}

TEST_F(PutIOAPITest, isSignedOutWhenItsCallerLearnsOfTheRefusal) {
    answerWith(401, "");
    bool wasTold = false;
    const Subscription subscription = auth.onChange([&](auto) { wasTold = true; });
    EXPECT_FALSE(run(api.get<StatusResponse>("/x", {}, never())));
    EXPECT_TRUE(wasTold);
    EXPECT_FALSE(credentials.values.contains("accessToken"));
}

TEST_F(PutIOAPITest, reportsWhatItCannotDecode) {
    const std::string problem = "Unexpected answer from put.io: it is not JSON.";
    const auto linesFor = [&](std::string body) {
        log.lines.clear();
        answerWith(200, std::move(body));
        EXPECT_EQ(run(api.get<StatusResponse>("/files/list", {{"a", "b"}}, never())).error().description, problem);
        return log.lines;
    };
    const std::string line = "[PutIOAPI] Decode error for /files/list: " + problem;
    const std::string preview = "[PutIOAPI] Response preview: ";
    using Lines = std::vector<std::string>;

    EXPECT_EQ(linesFor("<p>\n"), (Lines{line, preview + "<p>\n"}));
    EXPECT_EQ(linesFor(std::string(3000, 'x')), (Lines{line, preview + std::string(2000, 'x')}));
    const std::string almost(1999, 'x');
    EXPECT_EQ(linesFor(almost + "é"), (Lines{line}));  // the cut falls inside a character
    EXPECT_EQ(linesFor("<secret secretsecret>"), (Lines{line, preview + "<[token] [token][token]>"}));
    EXPECT_EQ(linesFor(almost + "secret"), (Lines{line, preview + almost + "[token]"}));  // or inside the token
    EXPECT_EQ(linesFor(almost + "xsecret"), (Lines{line, preview + almost + "x"}));

    log.lines.clear();
    EXPECT_FALSE(run(api.post<StatusResponse>("/x", {}, never())));
    EXPECT_EQ(log.lines, (Lines{"[PutIOAPI] POST decode error for /x: " + problem}));
}

TEST_F(PutIOAPITest, canBeStoppedOrDroppedAnywhere) {
    std::string listing = R"({"files":[)";
    while (listing.size() < 1'000'000) listing += R"({"id":1,"name":"file"},)";
    listing.back() = ']';
    answerWith(200, listing + R"(,"status":"OK"})");
    background.latency = std::chrono::seconds(1);
    const auto list = [&](std::stop_token stop) { return api.listFiles(rootFolderID, std::move(stop)); };
    EXPECT_GT(run(list(never()))->size(), 40'000U);  // decoded in the background

    for (const MainLoop::Duration after : {http.latency / 2, http.latency + std::chrono::milliseconds(500)}) {
        std::stop_source stop;
        const auto stopped = start(list(stop.get_token()));
        loop.advance(after);
        stop.request_stop();
        loop.runUntilIdle();
        ASSERT_TRUE(stopped->has_value());
        EXPECT_TRUE((*stopped)->error().isCancellation());

        std::optional<TaskScope> dropped(std::in_place);
        dropped->start([](Task<Result<std::vector<PutIOFile>>> task) -> Task<void> {
            co_await std::move(task);
            ADD_FAILURE() << "went on after it was dropped";
        }(list(never())));
        loop.advance(after);
        dropped.reset();
        loop.advance(std::chrono::minutes(1));
    }
    EXPECT_TRUE(log.lines.empty());
}

}  // namespace
}  // namespace tovri
