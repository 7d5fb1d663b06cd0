#include <QLineEdit>
#include <QTabWidget>

#include "tests/widgets/window/DesktopFixture.h"

namespace tovri::test {
namespace {

class SigningIn : public DesktopFixture {};

constexpr auto redirect = "tovri-putio://callback#access_token=abc";

TEST_F(SigningIn, leadsFromAnEmptyMachineToTheFiles) {
    start();
    EXPECT_EQ(window().windowTitle(), "Tovri");
    EXPECT_TRUE(shows(window(), "put.io OAuth Client ID"));
    EXPECT_FALSE(button(window(), "Change Client ID"));
    EXPECT_FALSE(button(window(), "Sign in with put.io")->isEnabled());

    auto* clientID = field<QLineEdit>(window(), "Client ID");
    ASSERT_TRUE(clientID);
    QTest::keyClicks(clientID, "12");  // over the one that stands there
    EXPECT_EQ(clientID->text(), "12");
    type(*clientID, "   ");
    EXPECT_FALSE(button(window(), "Save")->isEnabled());
    type(*clientID, " abc123 ");
    window().showMinimized();
    window().showNormal();
    press(window(), "Save");
    EXPECT_EQ(credentials.values.at("clientID"), "abc123");
    EXPECT_FALSE(shows(window(), "put.io OAuth Client ID"));
    EXPECT_TRUE(button(window(), "Change Client ID"));

    press(window(), "Sign in with put.io");
    ASSERT_EQ(workspace.openedAddresses.size(), 1U);
    EXPECT_TRUE(workspace.openedAddresses[0].contains("client_id=abc123"));
    EXPECT_FALSE(button(window(), "Signing in...")->isEnabled());
    press(window(), "Open the Page Again");
    EXPECT_EQ(workspace.openedAddresses.size(), 2U);
    press(window(), "Cancel");
    EXPECT_TRUE(shows(window(), "Authentication was cancelled."));

    press(window(), "Sign in with put.io");
    EXPECT_FALSE(shows(window(), "Authentication was cancelled."));
    auto* address = field<QLineEdit>(window(), "Or paste the address that begins with tovri-putio:");
    ASSERT_TRUE(address);
    type(*address, "tovri-putio://callback");
    press(window(), "Continue");
    EXPECT_TRUE(shows(window(), "No access token received from put.io."));
    type(*address, redirect);
    QTest::keyClick(address, Qt::Key_Return);
    settle();
    EXPECT_EQ(credentials.values.at("accessToken"), "abc");
    EXPECT_EQ(window().windowTitle(), "Files");
}

TEST_F(SigningIn, endsByTheRedirectThatASecondStartBrings) {
    credentials.values["clientID"] = "123";
    start();
    press(window(), "Sign in with put.io");
    desktop->receive(redirect);
    settle();
    EXPECT_EQ(window().windowTitle(), "Files");
    desktop->receive("tovri-putio://callback#error=late");
    desktop->receive("");
    EXPECT_TRUE(app->authManager().isAuthenticated());
    EXPECT_TRUE(window().isVisible());
}

TEST_F(SigningIn, isAskedForAgainAfterSigningOut) {
    credentials.values["clientID"] = "123";
    startSignedIn();
    key(Qt::Key_5, Qt::ControlModifier);
    EXPECT_EQ(window().windowTitle(), "RSS");
    key(Qt::Key_Comma, Qt::ControlModifier);
    SettingsWindow& settings = desktop->settings();
    ASSERT_TRUE(settings.isVisible());
    auto* tabs = settings.findChild<QTabWidget*>();
    for (int i = 0; i < tabs->count(); ++i)
        if (tabs->tabText(i) == "Account") tabs->setCurrentIndex(i);
    EXPECT_TRUE(shows(settings, "Signed in"));
    press(settings, "Sign Out");
    EXPECT_TRUE(shows(settings, "Not signed in"));
    EXPECT_FALSE(button(settings, "Sign Out")->isEnabled());
    EXPECT_EQ(window().windowTitle(), "Tovri");
    EXPECT_TRUE(button(window(), "Sign in with put.io"));
    key(Qt::Key_1, Qt::ControlModifier);

    press(window(), "Sign in with put.io");
    desktop->receive(redirect);
    settle();
    EXPECT_EQ(window().windowTitle(), "RSS");
}

// Any web page can open such an address.
TEST_F(SigningIn, asksBeforeAnAddressThatNobodyWaitsForReplacesTheAccount) {
    http.handler = [usual = http.handler](const HTTPRequest& request) -> Result<HTTPResponse> {
        if (!request.url.ends_with("/account/info")) return usual(request);
        const bool isOwn = request.headers.front().second == "Bearer secret";
        const std::string name = isOwn ? "alice" : "<b>mallory</b>";
        return HTTPResponse{200, R"({"info":{"username":")" + name + R"("},"status":"OK"})"};
    };
    startSignedIn();
    credentials.values["clientID"] = "123";
    for (const char* choice : {"Ignore", "Sign In"}) {
        desktop->receive(redirect);
        settle();
        EXPECT_EQ(app->authManager().token(), "secret");
        EXPECT_TRUE(shows(window(), "Sign in as <b>mallory</b>?"));
        press(window(), choice);
    }
    EXPECT_EQ(app->authManager().token(), "abc");
    EXPECT_EQ(app->account().name(), "<b>mallory</b>");
}

}  // namespace
}  // namespace tovri::test
