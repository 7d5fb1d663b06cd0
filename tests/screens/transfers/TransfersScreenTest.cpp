#include "screens/ListFixture.h"
#include "screens/transfers/TransfersScreen.h"
#include "support/FakeWorkspace.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

class TransfersScreenTest : public test::ListFixture {
public:
    TransfersScreenTest() : ListFixture(film) {}

    void appear() {
        screen.appear();
        loop.advance(1s);
    }

    [[nodiscard]] std::string shown() const {
        std::string text;
        for (const TransferRow& row : screen.rows())
            text += row.isHeader() ? row.title + ": " : row.title + " (" + row.detail + ") ";
        return text;
    }

    static constexpr const char* film = R"({"id":1,"name":"Film","status":"ERROR"})";
    static constexpr const char* song = R"({"id":2,"name":"Song","status":"SEEDING"})";

    test::FakeWorkspace workspace;
    TransfersScreen screen{api, workspace, platform.loop, platform.random};
};

TEST_F(TransfersScreenTest, refreshesItselfWhileItIsOnView) {
    appear();
    EXPECT_EQ(shown(), "Failed: Film (Transfer failed) ");
    list = R"({"id":1,"name":"Film","status":"COMPLETED"})";
    loop.advance(5s);
    EXPECT_EQ(shown(), "Completed: Film (0 bytes · Completed) ");

    listStatus = 500;
    loop.advance(10s);
    EXPECT_EQ(shown(), "Completed: Film (0 bytes · Completed) ");
    EXPECT_FALSE(screen.placeholder());

    screen.disappear();
    EXPECT_TRUE(screen.rows().empty());
    const std::size_t requests = http.requests.size();
    loop.advance(1min);
    EXPECT_EQ(http.requests.size(), requests);
    EXPECT_TRUE(loop.isIdle());

    listStatus = 200;
    screen.appear();
    screen.disappear();  // before its answer
    appear();
    EXPECT_EQ(shown(), "Completed: Film (0 bytes · Completed) ");
}

TEST_F(TransfersScreenTest, saysWhyThereIsNothingToSee) {
    listStatus = 404;
    screen.appear();
    EXPECT_EQ(screen.placeholder().value().text, "Loading transfers...");
    loop.advance(1s);
    EXPECT_EQ(screen.placeholder().value().text, "HTTP error 404 from put.io.");
    EXPECT_EQ(screen.placeholder().value().button, "Retry");

    listStatus = 200;
    list = "";
    screen.openPlaceholder();
    EXPECT_EQ(screen.placeholder().value().text, "Loading transfers...");
    loop.advance(1s);
    EXPECT_EQ(screen.placeholder().value().title, "No Transfers");
    EXPECT_EQ(screen.placeholder().value().symbol, "arrow.up.arrow.down.circle");
    screen.openPlaceholder();
    EXPECT_TRUE(screen.addSheet().isOpen());
}

TEST_F(TransfersScreenTest, takesBackAnErrorWhenARefreshSucceeds) {
    listStatus = 500;
    appear();
    listStatus = 200;
    list = "";
    loop.advance(5s);
    EXPECT_EQ(screen.placeholder().value().title, "No Transfers");
}

TEST_F(TransfersScreenTest, asksAtOnceAtTheUsersWord) {
    screen.refresh();  // not on view
    EXPECT_TRUE(loop.isIdle());
    listStatus = 500;
    appear();
    screen.refresh();
    EXPECT_EQ(screen.placeholder().value().text, "Loading transfers...");
    listStatus = 200;
    list = song;
    loop.advance(1s);
    screen.refresh();
    loop.advance(1s);
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");

    listStatus = 500;
    screen.refresh();
    loop.advance(1s);
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");
    EXPECT_EQ(failureMessage(screen.dialogs()), "");
}

TEST_F(TransfersScreenTest, tellsRowByRowAndOnlyOfWhatDiffers) {
    list = std::string(film) + "," + song;
    appear();
    std::vector<ScreenChange> told;
    const Subscription subscription = screen.onChange([&](const ScreenChange& change) { told.push_back(change); });
    loop.advance(10s);
    EXPECT_TRUE(told.empty());

    using Kind = ScreenChange::Kind;
    list = std::string(R"({"id":1,"name":"Film","status":"ERROR","error_message":"No peers"})") + "," + song;
    loop.advance(5s);
    EXPECT_EQ(told, (std::vector<ScreenChange>{{Kind::changed, 3, 1}, {}}));

    told.clear();  // Song goes over to another section
    list = std::string(film) + R"(,{"id":2,"name":"Song","status":"COMPLETED"})";
    loop.advance(5s);
    EXPECT_EQ(told, (std::vector<ScreenChange>{{Kind::reset}, {}}));  // the same row, in another place
}

TEST_F(TransfersScreenTest, cancelsOnlyAfterTheUsersWord) {
    list = std::string(film) + R"(,{"id":2,"status":"SEEDING"})";
    appear();
    screen.perform(TransferRowAction::cancel, TransferID(1));  // failed already
    screen.perform(TransferRowAction::cancel, TransferID(77));
    EXPECT_FALSE(screen.dialogs().pendingAction());

    screen.perform(TransferRowAction::cancel, TransferID(2));
    const DestructiveAction action = screen.dialogs().pendingAction().value();
    EXPECT_EQ(action.title, "Cancel “Unknown Transfer”?");
    EXPECT_EQ(action.message, "put.io stops the transfer and discards what it has downloaded so far.");
    EXPECT_EQ(action.confirmLabel, "Cancel Transfer");
    const std::size_t requests = http.requests.size();
    screen.dialogs().confirm();
    list = film;
    loop.advance(1s);
    EXPECT_EQ(http.requests.at(requests).body, "transfer_ids=2");
    EXPECT_EQ(shown(), "Failed: Film (Transfer failed) ");

    list = song;
    loop.advance(5s);
    actionStatus = 404;
    screen.perform(TransferRowAction::cancel, TransferID(2));
    screen.dialogs().confirm();
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "HTTP error 404 from put.io.");
}

TEST_F(TransfersScreenTest, retriesAndCleansAndLoadsAgain) {
    appear();
    screen.perform(TransferRowAction::retry, TransferID(1));
    list = song;
    loop.advance(1s);
    EXPECT_EQ(http.requests.at(1).body, "id=1");
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");
    list = film;
    screen.perform(TransferToolbarAction::clean);
    loop.advance(1s);
    EXPECT_EQ(shown(), "Failed: Film (Transfer failed) ");

    actionStatus = 500;
    list = song;
    screen.perform(TransferRowAction::retry, TransferID(1));
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "HTTP error 500 from put.io.");
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");
    screen.dialogs().dismissFailure();
    screen.perform(TransferToolbarAction::clean);
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "HTTP error 500 from put.io.");

    screen.perform(TransferToolbarAction::clean);
    screen.perform(TransferRowAction::cancel, TransferID(2));
    screen.dialogs().confirm();
    screen.disappear();  // the failures come when nobody looks
    loop.advance(1s);
    EXPECT_EQ(failureMessage(screen.dialogs()), "");
}

TEST_F(TransfersScreenTest, keepsTheNewerOfTwoAnswers) {
    http.actsAtOnce = true;
    appear();
    http.latency = 2s;
    loop.advance(4100ms);  // the refresh has left with the old list
    http.latency = 20ms;
    list = song;
    screen.perform(TransferToolbarAction::clean);
    loop.advance(1s);
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");
    loop.advance(2s);
    EXPECT_EQ(shown(), "Seeding: Song (0 bytes · Ratio: 0.00 · 0 peers) ");
}

// --- The sheet ---

TEST_F(TransfersScreenTest, offersTheClipboardsTransfer) {
    struct Case {
        std::optional<std::string> clipboard;
        const char* offered = "";
    };

    const Case cases[] = {
        {"magnet:?xt=urn:btih:0", "magnet:?xt=urn:btih:0"},
        {"https://example.com/a.torrent", "https://example.com/a.torrent"},
        {"https://example.com/a", ""},
        {"Magnet:?xt", ""},
        {"https://example.com/a.TORRENT", ""},
        {std::nullopt, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.clipboard.value_or("nothing"));
        workspace.clipboard = c.clipboard;
        screen.perform(TransferToolbarAction::add);
        EXPECT_EQ(screen.addSheet().urlText(), c.offered);
        screen.addSheet().setURLText("left behind");
        screen.addSheet().close();
    }
}

TEST_F(TransfersScreenTest, addsATransfer) {
    AddTransferSheet& sheet = screen.addSheet();
    sheet.open();
    sheet.setURLText(" \n");
    sheet.add();
    EXPECT_TRUE(http.requests.empty());

    actionStatus = 400;
    sheet.setURLText(" https://example.com/a \n");
    sheet.setExtract(true);
    sheet.add();
    EXPECT_TRUE(sheet.isAdding());
    loop.advance(1s);
    EXPECT_FALSE(sheet.isAdding());
    EXPECT_TRUE(sheet.isOpen());
    EXPECT_EQ(sheet.error(), "HTTP error 400 from put.io.");

    actionStatus = 200;
    sheet.add();
    EXPECT_FALSE(sheet.error());
    sheet.add();  // a second press
    loop.advance(1s);
    EXPECT_FALSE(sheet.isOpen());
    EXPECT_EQ(http.requests.size(), 2U);
    EXPECT_EQ(lastRequest(), "POST /transfers/add extract=true&url=https://example.com/a");

    sheet.open();
    EXPECT_FALSE(sheet.extract());
    sheet.setURLText("magnet:?");
    sheet.add();
    sheet.close();
    sheet.open();  // what is called off does not close the next one
    loop.advance(1s);
    EXPECT_TRUE(sheet.isOpen());
    EXPECT_FALSE(sheet.isAdding());
}

}  // namespace
}  // namespace tovri
