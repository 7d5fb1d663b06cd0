#include "service/ServiceFixture.h"
#include "service/records/AccountInfo.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

class AccountInfoTest : public test::ServiceFixture {
public:
    AccountInfoTest() { answerWith(200, text("alice")); }

    static std::string text(const std::string& name) {
        return R"({"info":{"username":")" + name + R"(","disk":{"used":1200000,"size":4200000}},"status":"OK"})";
    }

    [[nodiscard]] AccountInfo restarted() { return {auth, http, platform, ServiceHosts{}, defaults}; }

    test::MemoryUserDefaults defaults;
    AccountInfo account{auth, http, platform, ServiceHosts{}, defaults};
};

TEST_F(AccountInfoTest, asksEveryFiveMinutesAtMost) {
    EXPECT_FALSE(account.name());
    account.refreshSoon();
    loop.advance(1s);
    ASSERT_TRUE(account.known());
    EXPECT_EQ(accountText(*account.known()), "alice · 1.2 MB used · 3 MB free");
    account.refreshSoon();
    loop.advance(4min);
    EXPECT_EQ(http.requests.size(), 1U);
    loop.advance(2min);
    account.refreshSoon();
    loop.advance(1s);
    EXPECT_EQ(http.requests.size(), 2U);
    account.beginWatching();
    loop.advance(11min);
    EXPECT_EQ(http.requests.size(), 4U);
    account.endWatching();
    loop.advance(1h);
    EXPECT_EQ(http.requests.size(), 4U);

    PutIOAccount odd;
    odd.username = "alice";
    odd.disk = {.used = -5, .size = 10};
    EXPECT_EQ(accountText(odd), "alice · – used");
}

TEST_F(AccountInfoTest, knowsATokenAgainAndNoOther) {
    EXPECT_TRUE(run(account.refresh(never())));
    EXPECT_EQ(restarted().name(), "alice");
    EXPECT_TRUE(auth.signInWithToken("another"));
    EXPECT_FALSE(account.known());
    EXPECT_FALSE(account.name());
    EXPECT_EQ(restarted().name(), std::nullopt);
    EXPECT_EQ(account.lastName(), "alice");
}

TEST_F(AccountInfoTest, signsNobodyOutAndSendsNoBrokenHeader) {
    answerWith(401, "");
    const Result<PutIOAccount> refused = run(account.lookUp("wrong", never()));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCase::notAuthenticated);
    EXPECT_TRUE(auth.isAuthenticated());
    const std::size_t sent = http.requests.size();
    EXPECT_FALSE(run(account.lookUp("a\r\nX-Header: b", never())));
    EXPECT_EQ(http.requests.size(), sent);
}

TEST_F(AccountInfoTest, triesAgainUntilItKnowsTheName) {
    answer = failure(Error(TransportFault::unreachable, "Nobody answers."));
    account.refreshSoon();
    loop.advance(1min);
    EXPECT_FALSE(account.name());
    answerWith(200, text("alice"));
    loop.advance(1min);
    EXPECT_EQ(account.name(), "alice");
}

}  // namespace
}  // namespace tovri
