#include <string>

#include <gtest/gtest.h>

#include "screens/NoticingWorkspace.h"
#include "support/FakeWorkspace.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

struct NoticesTest : testing::Test {
    [[nodiscard]] std::string shown() const { return notices.shown() ? notices.shown()->text : ""; }

    void answer(const std::string& text) { notices.tell({.text = text}); }

    void fail(const std::string& text) { notices.tell({.kind = Notice::Kind::failure, .text = text}); }

    VirtualLoop loop;
    Notices notices{loop};
};

TEST_F(NoticesTest, areShownOneAtATimeAndForTenSeconds) {
    answer("1 download cancelled.");
    loop.advance(3s);
    fail("The list is cut.");
    fail("The list is cut.");
    EXPECT_EQ(shown(), "1 download cancelled.");  // what it offers is not hidden
    answer("2 downloads cancelled.");
    loop.advance(9s);
    EXPECT_EQ(shown(), "2 downloads cancelled.");
    loop.advance(2s);
    EXPECT_EQ(shown(), "The list is cut.");
    loop.advance(10s);
    EXPECT_EQ(shown(), "");
    fail("Something else.");
    notices.withdrawAnswer();
    EXPECT_EQ(shown(), "Something else.");
    notices.close();
    EXPECT_EQ(shown(), "");
}

TEST_F(NoticesTest, tellWhatTheDesktopCannotOpen) {
    FakeWorkspace desktop;
    NoticingWorkspace workspace(desktop, notices);
    workspace.openWebAddress("https://app.put.io/files/1");
    EXPECT_EQ(shown(), "");
    desktop.hasApplications = false;
    workspace.openWebAddress("https://app.put.io/files/2");
    EXPECT_EQ(shown(), "No browser could be found to open https://app.put.io/files/2");
    notices.perform();
    EXPECT_EQ(desktop.clipboard, "https://app.put.io/files/2");
    EXPECT_EQ(shown(), "");
}

}  // namespace
}  // namespace tovri::test
