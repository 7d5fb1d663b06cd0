#include "screens/settings/SignInGate.h"
#include "service/ServiceFixture.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;
using Choice = SignInGate::Choice;

// Signed in as alice. Each token opens the account of its name.
class SignInGateTest : public test::ServiceFixture {
public:
    SignInGateTest() {
        http.handler = [this](const HTTPRequest& request) -> Result<HTTPResponse> {
            if (!isOnline) return failure(Error(TransportFault::unreachable, "Nobody answers."));
            const std::string name = request.headers.front().second.substr(std::string("Bearer ").size());
            if (name == "expired") return HTTPResponse{401, ""};
            return HTTPResponse{200, R"({"info":{"username":")" + name + R"("},"status":"OK"})"};
        };
        EXPECT_TRUE(auth.signInWithToken("alice"));
        EXPECT_TRUE(run(account.refresh(never())));
        auth.signOut();
        EXPECT_TRUE(auth.signInWithToken("alice"));
    }

    void receive(const std::string& token) {
        EXPECT_TRUE(gate.receive("tovri-putio://callback#access_token=" + token));
        loop.advance(1s);
    }

    test::MemoryUserDefaults defaults;
    AccountInfo account{auth, http, platform, ServiceHosts{}, defaults};
    SignInGate gate{auth, account, loop, log};
    bool isOnline = true;
};

TEST_F(SignInGateTest, asksAboutWhatNobodyWaitsFor) {
    receive("mallory");
    ASSERT_TRUE(gate.question());
    EXPECT_EQ(gate.question()->title, "Sign in as mallory?");
    EXPECT_EQ(auth.token(), "alice");
    EXPECT_FALSE(gate.receive("tovri-putio://callback#access_token=eve"));  // one question at a time
    gate.answer(Choice::ignore);
    EXPECT_EQ(auth.token(), "alice");

    receive("alice2");
    std::vector<bool> seen;
    const Subscription watching = auth.onChange([&](AuthManager::Change) { seen.push_back(auth.isAuthenticated()); });
    gate.answer(Choice::signIn);
    EXPECT_EQ(auth.token(), "alice2");
    EXPECT_EQ(seen, (std::vector<bool>{false, true}));  // so that nothing stays selected
    EXPECT_EQ(account.name(), "alice2");
}

TEST_F(SignInGateTest, takesWhatIsWaitedForUnlessItIsAnotherAccount) {
    auth.signOut();
    gate.expect();
    loop.advance(14min);
    receive("alice");
    EXPECT_FALSE(gate.question());
    EXPECT_EQ(auth.token(), "alice");

    gate.expect();
    receive("bob");
    EXPECT_TRUE(gate.question());
    EXPECT_EQ(auth.token(), "alice");
    gate.answer(Choice::signIn);
    EXPECT_EQ(auth.token(), "bob");

    gate.expect();
    loop.advance(15min);
    receive("bob");
    EXPECT_TRUE(gate.question());  // too late
}

TEST_F(SignInGateTest, whatCannotBeLookedUpIsTakenOnlyWhereItIsWaitedFor) {
    isOnline = false;
    receive("mallory");
    EXPECT_EQ(auth.token(), "alice");
    gate.expect();
    receive("expected");
    EXPECT_EQ(auth.token(), "expected");

    isOnline = true;
    std::string told;
    const Subscription refusals = gate.onRefused([&](const Error& error) { told = error.description; });
    gate.expect();
    receive("expired");
    EXPECT_EQ(auth.token(), "expected");
    EXPECT_FALSE(told.empty());
}

TEST_F(SignInGateTest, dropsAnythingElseWithALine) {
    for (const char* address : {"tovri-putio://other#access_token=abc", "tovri-putio://callback", ""})
        EXPECT_FALSE(gate.receive(address)) << address;
    EXPECT_EQ(log.lines.size(), 3U);
    EXPECT_EQ(auth.token(), "alice");
}

}  // namespace
}  // namespace tovri
