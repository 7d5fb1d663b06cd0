#include "screens/settings/SignInScreen.h"
#include "service/ServiceFixture.h"
#include "support/FakeWorkspace.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

class SignInScreenTest : public test::ServiceFixture {
public:
    SignInScreenTest() {
        auth.signOut();
        auth.saveClientID("123");
        answerWith(200, R"({"info":{"username":"alice"},"status":"OK"})");
        screen.appear();
    }

    static constexpr const char* redirect = "tovri-putio://callback#access_token=abc";

    test::FakeWorkspace workspace;
    test::MemoryUserDefaults defaults;
    AccountInfo account{auth, http, platform, ServiceHosts{}, defaults};
    SignInGate gate{auth, account, loop, log};
    std::size_t waiting = 0;
    SignInScreen screen{auth, gate, workspace, ServiceHosts{}, [this] { return waiting; }};
};

TEST_F(SignInScreenTest, asksForTheClientIDFirst) {
    auth.saveClientID("");
    EXPECT_TRUE(screen.showsClientIDSetup());
    EXPECT_FALSE(screen.showsChangeClientID());
    EXPECT_FALSE(screen.canSignIn());
    EXPECT_EQ(screen.setupHint(),
              "Create an application at https://app.put.io/oauth to obtain a client ID.\n"
              "Set its redirect URI to tovri-putio://callback");
    screen.setClientID(" \t ");
    EXPECT_FALSE(screen.canSaveClientID());
    screen.setClientID(" abc123 \n");
    EXPECT_TRUE(screen.canSaveClientID());
    screen.saveClientID();
    EXPECT_EQ(credentials.values.at("clientID"), "abc123");
    EXPECT_FALSE(screen.showsClientIDSetup());
    EXPECT_TRUE(screen.showsChangeClientID());
    EXPECT_TRUE(screen.canSignIn());

    screen.changeClientID();
    EXPECT_EQ(screen.clientID(), "abc123");
    EXPECT_TRUE(screen.showsClientIDSetup());
    EXPECT_TRUE(screen.canSignIn());
}

TEST_F(SignInScreenTest, signsInByThePageAndSaysWhyNot) {
    web.answer = std::nullopt;
    screen.signIn();
    EXPECT_STREQ(screen.signInLabel(), "Signing in...");
    screen.signIn();  // one at a time
    EXPECT_EQ(web.urls.size(), 1U);
    loop.advance(1min);
    EXPECT_EQ(screen.error(), "Authentication was cancelled.");
    EXPECT_TRUE(screen.canSignIn());

    web.answer = redirect;
    screen.signIn();
    EXPECT_FALSE(screen.error());
    loop.advance(1min);
    EXPECT_TRUE(auth.isAuthenticated());
    EXPECT_FALSE(screen.isSigningIn());
    EXPECT_FALSE(screen.error());
}

TEST_F(SignInScreenTest, callsTheWaitOff) {
    web.answer = redirect;
    screen.signIn();
    screen.cancel();
    EXPECT_FALSE(screen.isSigningIn());
    EXPECT_EQ(screen.error(), "Authentication was cancelled.");
    screen.signIn();  // the one called off does not end the next one
    loop.advance(1s);
    EXPECT_TRUE(screen.isSigningIn());
    screen.cancel();
    loop.advance(1min);
    EXPECT_FALSE(auth.isAuthenticated());
    EXPECT_TRUE(loop.isIdle());
}

TEST_F(SignInScreenTest, helpsWhileThePageIsOpen) {
    screen.openPageAgain();
    screen.submitAddress(redirect);
    EXPECT_TRUE(workspace.openedAddresses.empty());
    EXPECT_FALSE(auth.isAuthenticated());

    screen.signIn();
    screen.openPageAgain();
    EXPECT_EQ(workspace.openedAddresses, web.urls);
    screen.submitAddress("https://app.put.io/");
    EXPECT_EQ(screen.addressError(), "No access token received from put.io.");
    EXPECT_TRUE(screen.isSigningIn());
    screen.submitAddress(std::string(" ") + redirect + "\n");
    EXPECT_TRUE(loop.runUntil([&] { return auth.isAuthenticated(); }));
    EXPECT_FALSE(screen.isSigningIn());
    EXPECT_FALSE(screen.addressError());
    loop.advance(1min);
    EXPECT_EQ(auth.token(), "abc");
}

TEST_F(SignInScreenTest, endsTheWaitWhenTheTokenComesByAnotherWay) {
    screen.signIn();
    EXPECT_TRUE(auth.handleCallback(redirect));
    screen.disappear();
    loop.advance(1min);
    EXPECT_FALSE(screen.isSigningIn());
    EXPECT_FALSE(screen.error());
    EXPECT_TRUE(auth.handleCallback(redirect));  // once more
    EXPECT_TRUE(auth.isAuthenticated());
}

TEST_F(SignInScreenTest, saysWhyItIsThere) {
    EXPECT_TRUE(auth.signInWithToken("secret"));
    auth.signOut();
    EXPECT_FALSE(screen.notice());
    EXPECT_TRUE(auth.signInWithToken("secret"));
    answerWith(401, "");
    EXPECT_FALSE(run(api.listFiles(rootFolderID, never())));
    EXPECT_EQ(screen.notice(), "put.io does not accept the sign-in any more.");
    waiting = 3;
    EXPECT_EQ(screen.notice(),
              "put.io does not accept the sign-in any more. 3 downloads wait for you to sign in again.");
}

}  // namespace
}  // namespace tovri
