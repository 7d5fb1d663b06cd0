#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "screens/automation/SyncRulesScreen.h"

namespace tovri {
namespace {

using namespace std::chrono_literals;

constexpr Timestamp noon{20'000 * std::chrono::days(1) + 12h};

SyncRule syncedRule() {
    SyncRule rule;
    rule.putioFolderName = "Shows";
    rule.localFolderPath = "/home/user/Videos";
    rule.isInitialized = true;
    rule.lastSyncDate = noon;
    return rule;
}

class SyncRulesScreenTest : public testing::Test {
public:
    SyncRulesScreenTest() : folder(world().addFolder("Shows")) {}

    test::World& world() { return home.world; }

    SyncManager& sync() { return *home.sync; }

    // The columns of a row that the rule's state decides: "5m, Waiting".
    [[nodiscard]] std::string state(std::size_t index = 0) const {
        const SyncRuleRow row = screen.row(index);
        return row.interval + ", " + row.status;
    }

    test::SyncWorld home;
    FolderID folder;
    SyncRulesScreen screen{
        *home.sync,
        home.world.api(),
        {home.world.loop, home.world.clock, home.world.random, home.world.folderAccess, "/home/user"}};
};

TEST(SyncRuleRow, saysHowTheRuleStands) {
    SyncRule rule = syncedRule();
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon + 299s).status, "4 min");
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon + 3s).status, "3 sec");
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon - 1h).status, "0 sec");  // the clock was set
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).statusTint, Tint::secondary);
    rule.lastSyncDate = Timestamp::min();
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).status, "36524 days");

    rule.lastSyncDate.reset();
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).status, "Waiting");
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).interval, "5m");
    rule.isInitialized = false;
    const SyncRuleRow initializing = syncRuleRow(rule, "/home/user", noon);
    EXPECT_EQ(initializing.status, "Initializing");
    EXPECT_EQ(initializing.statusTint, Tint::attention);
    EXPECT_EQ(initializing.statusHelp,
              "Taking stock of the files already in this folder. Nothing downloads until that succeeds.");
    rule.isEnabled = false;
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).status, "Paused");
    EXPECT_EQ(syncRuleRow(rule, "/home/user", noon).interval, "—");
}

TEST(SyncRuleRow, abbreviatesTheHomeFolderAlone) {
    EXPECT_EQ(abbreviatedPath("/home/user/Videos/A", "/home/user"), "~/Videos/A");
    EXPECT_EQ(abbreviatedPath("/home/user", "/home/user"), "~");
    EXPECT_EQ(abbreviatedPath("/home/user2/A", "/home/user"), "/home/user2/A");
    EXPECT_EQ(abbreviatedPath("/srv/home/user", "/home/user"), "/srv/home/user");
    EXPECT_EQ(abbreviatedPath("/srv", ""), "/srv");
}

TEST(RelativeTime, tellsTheNextWordsAtTheirMoment) {
    const SyncRule rule = syncedRule();
    for (const auto elapsed : {0ms, 1ms, 59'999ms, 60'000ms, 61'500ms, 3'600'000ms, 90'000'000ms, -1'500ms}) {
        SCOPED_TRACE(elapsed.count());
        const Timestamp now = noon + elapsed;
        const auto text = [&](Timestamp time) { return syncRuleRow(rule, "", time).status; };
        const auto next = std::chrono::duration_cast<Timestamp::duration>(timeToNextText(rule, now).value());
        EXPECT_GT(next.count(), 0);
        EXPECT_EQ(text(now + next - 1ns), text(now));
        EXPECT_NE(text(now + next), text(now));
    }
}

TEST_F(SyncRulesScreenTest, syncsOnlyWhereThatDoesAnything) {
    const auto canSync = [&](const UUID& rule) { return screen.menu(rule).at(1).isEnabled; };
    EXPECT_FALSE(screen.toolbar().at(1).isEnabled);
    const UUID rule = home.watch(folder);
    EXPECT_TRUE(screen.toolbar().at(1).isEnabled && canSync(rule));
    screen.perform(SyncToolbarAction::syncAll);
    EXPECT_TRUE(screen.toolbar().at(1).isEnabled);  // a press tells of the pass that runs
    EXPECT_FALSE(canSync(rule));
    home.settle();
    screen.setEnabled(rule, false);
    EXPECT_FALSE(screen.canRefresh());
    EXPECT_TRUE(canSync(rule));
    sync().setAccount("ann");
    sync().setAccount("bob");
    EXPECT_FALSE(screen.canRefresh() || canSync(rule));  // it waits for its account
}

TEST_F(SyncRulesScreenTest, saysWhatFailedLastAlsoAfterARestart) {
    const UUID id = home.watch(folder);
    EXPECT_EQ(screen.row(0).failure, "");
    home.refusal = 500;
    home.pass();
    constexpr auto failed = "The last look failed: HTTP error 500 from put.io.";
    EXPECT_EQ(screen.row(0).failure, failed);
    EXPECT_EQ(screen.row(0).statusTint, Tint::attention);
    home.restart();
    EXPECT_EQ(syncRuleRow(home.rule(id), "/home/user", noon).failure, failed);
}

TEST_F(SyncRulesScreenTest, followsARuleFromItsMakingOn) {
    std::vector<ScreenChange> told;
    const Subscription subscription = screen.onChange([&](const ScreenChange& change) { told.push_back(change); });
    using Kind = ScreenChange::Kind;
    EXPECT_EQ(screen.placeholder().value().title, "No Automation Rules");
    EXPECT_EQ(screen.placeholder().value().button, "Add Rule");

    sync().addRule(home.newRule(folder, "Shows"));
    EXPECT_FALSE(screen.placeholder());
    EXPECT_EQ(told, (std::vector<ScreenChange>{{Kind::inserted, 0, 1}, {}}));
    EXPECT_EQ(state(), "5m, Initializing");
    home.settle();
    EXPECT_EQ(state(), "5m, Waiting");

    screen.appear();
    screen.refresh();
    EXPECT_TRUE(screen.toolbar().at(0).isVisible);
    world().loop.advance(10s);
    EXPECT_FALSE(screen.toolbar().at(0).isVisible);
    EXPECT_EQ(state(), "5m, 10 sec");

    told.clear();
    world().loop.advance(10min);  // 50 steps of a second, then one a minute
    EXPECT_EQ(told.size(), 59U);
    EXPECT_EQ(state(), "5m, 10 min");
    screen.disappear();
    EXPECT_TRUE(world().loop.isIdle());

    told.clear();
    screen.perform(SyncRuleAction::remove, screen.row(0).id);
    EXPECT_EQ(told, (std::vector<ScreenChange>{{Kind::removed, 0, 1}, {}}));
    EXPECT_TRUE(screen.placeholder());
}

TEST_F(SyncRulesScreenTest, pausesARuleAndStillSyncsItAtTheUsersWord) {
    const UUID rule = home.watch(folder);
    screen.setEnabled(rule, false);
    EXPECT_EQ(state(), "—, Paused");
    world().addFile("a.txt", "a", folder);
    screen.perform(SyncToolbarAction::syncAll);
    home.settle();
    EXPECT_TRUE(home.arrived().empty());
    screen.perform(SyncRuleAction::syncNow, rule);
    home.settle();
    EXPECT_EQ(home.arrived(), std::vector<std::string>{"a.txt"});
    screen.setEnabled(rule, true);
    EXPECT_EQ(screen.row(0).interval, "5m");
}

TEST_F(SyncRulesScreenTest, showsTheLastErrorUntilItIsDismissed) {
    const UUID rule = home.watch(folder);
    home.refusal = 500;
    home.pass();
    EXPECT_EQ(screen.banner().value().text, "Sync failed for Shows: HTTP error 500 from put.io.");
    EXPECT_EQ(screen.row(0).statusHelp, "The last look failed: HTTP error 500 from put.io.");
    screen.dismissBanner();
    EXPECT_FALSE(screen.banner());
    home.watch(folder, "Second");
    EXPECT_EQ(screen.banner().value().text, "Couldn't initialize Second: HTTP error 500 from put.io. Will retry.");
    screen.deleteRules({sync().rules().back().id});
    screen.deleteRules({rule, rule});
    EXPECT_EQ(screen.rowCount(), 0U);
}

// --- The editor ---

class SyncRuleEditorTest : public SyncRulesScreenTest {
public:
    [[nodiscard]] std::string folders() const {
        std::string names;
        for (const PutIOFile& entry : editor.remoteFolder().folders()) names += entry.name + " ";
        return names;
    }

    [[nodiscard]] std::string path() const {
        std::string names;
        for (const Breadcrumb& crumb : editor.remoteFolder().path()) names += "/" + crumb.name;
        return names;
    }

    SyncRuleEditorSheet& editor = screen.editor();
};

TEST_F(SyncRuleEditorTest, makesARule) {
    world().addFile("a.txt", "a");
    screen.perform(SyncToolbarAction::addRule);
    EXPECT_STREQ(editor.title(), "New Sync Rule");
    EXPECT_STREQ(editor.confirmLabel(), "Create Rule");
    EXPECT_EQ(editor.remoteFolder().chosenText(), "Selected: Your Files");
    EXPECT_TRUE(editor.remoteFolder().isLoading());
    home.settle();
    EXPECT_FALSE(editor.remoteFolder().isLoading());
    EXPECT_EQ(folders(), "Shows ");
    EXPECT_FALSE(editor.canConfirm());
    editor.confirm();
    EXPECT_TRUE(editor.isOpen());

    EXPECT_TRUE(editor.deleteAfterDownload());
    EXPECT_EQ(editor.pollInterval().label, "Check every 5 minutes");
    editor.setPollInterval(0);
    EXPECT_EQ(editor.pollInterval().label, "Check every 1 minute");
    EXPECT_FALSE(editor.pollInterval().canStepDown());
    editor.setPollInterval(61);
    EXPECT_EQ(editor.pollInterval().number, 60);

    editor.remoteFolder().openFolder(0);
    EXPECT_EQ(editor.remoteFolder().chosenText(), "Selected: Shows");
    editor.setLocalFolder("/srv/shows/");
    editor.setDeleteAfterDownload(false);
    editor.confirm();
    EXPECT_FALSE(editor.isOpen());
    const SyncRule& made = sync().rules().at(0);
    EXPECT_EQ(made.putioFolderID, folder);
    EXPECT_EQ(made.putioFolderName, "Shows");
    EXPECT_EQ(made.localFolderPath, "/srv/shows");
    EXPECT_TRUE(made.localFolderBookmark);
    EXPECT_FALSE(made.deleteAfterDownload);
    EXPECT_EQ(made.pollIntervalMinutes, 60);
    EXPECT_TRUE(made.isEnabled);

    screen.perform(SyncToolbarAction::addRule);
    home.settle();
    editor.remoteFolder().openFolder(0);
    EXPECT_STREQ(editor.notice(), "");
    editor.setLocalFolder("/srv/shows");
    EXPECT_STREQ(editor.notice(), "Another rule brings this folder to the same place already.");
    editor.confirm();
    EXPECT_EQ(sync().rules().size(), 2U);

    screen.openPlaceholder();  // nothing of the last time is left
    EXPECT_FALSE(editor.canConfirm());
    EXPECT_EQ(editor.pollInterval().number, 5);
}

TEST_F(SyncRuleEditorTest, listsWhatIsBelowTheFolderThatWasChosenLast) {
    const FolderID other = world().addFolder("Films");
    world().addFolder("Season 1", folder);
    world().addFolder("Extras", other);
    world().http.actsAtOnce = true;
    editor.open(std::nullopt);
    world().loop.advance(1s);
    ASSERT_EQ(folders(), "Shows Films ");

    world().http.latency = 2s;
    editor.remoteFolder().openFolder(0);
    world().http.latency = 1s;
    editor.remoteFolder().openFolder(1);
    world().loop.advance(1500ms);
    EXPECT_EQ(folders(), "Extras ");
    EXPECT_FALSE(editor.remoteFolder().isLoading());
    world().loop.advance(1s);  // the late answer
    EXPECT_EQ(folders(), "Extras ");
    EXPECT_EQ(editor.remoteFolder().chosenText(), "Selected: Films");

    editor.remoteFolder().openBreadcrumb(1);
    world().loop.advance(500ms);
    EXPECT_TRUE(editor.remoteFolder().isLoading());
    world().loop.advance(1s);
    EXPECT_EQ(folders(), "Season 1 ");
    EXPECT_EQ(path(), "/Your Files/Shows");

    home.refusal = 500;
    editor.remoteFolder().openBreadcrumb(0);
    world().loop.advance(2s);
    EXPECT_EQ(folders(), "");
    EXPECT_FALSE(editor.remoteFolder().isLoading());

    editor.remoteFolder().openBreadcrumb(0);
    editor.close();
    editor.open(std::nullopt);
    EXPECT_TRUE(editor.remoteFolder().isLoading());
    home.refusal.reset();
}

TEST_F(SyncRuleEditorTest, changesARuleWithoutForgettingWhatItKnows) {
    const FolderID below = world().addFolder("Season 1", folder);
    world().addFile("a.txt", "a", folder);
    const UUID rule = home.watch(folder);
    ASSERT_EQ(home.rule(rule).knownFileIDs.size(), 1U);

    screen.perform(SyncRuleAction::edit, rule);
    home.settle();
    EXPECT_STREQ(editor.title(), "Edit Sync Rule");
    EXPECT_STREQ(editor.confirmLabel(), "Save");
    EXPECT_EQ(editor.remoteFolder().chosenText(), "Selected: Shows");
    EXPECT_EQ(path(), "/Your Files");
    EXPECT_EQ(folders(), "Season 1 ");
    editor.setPollInterval(30);
    editor.confirm();
    EXPECT_EQ(state(), "30m, Waiting");
    EXPECT_EQ(home.rule(rule).knownFileIDs.size(), 1U);

    world().folderAccess.refusesBookmarks = true;
    screen.perform(SyncRuleAction::edit, rule);
    home.settle();
    editor.remoteFolder().openFolder(0);
    editor.setLocalFolder("/home/user/Videos");
    editor.confirm();
    EXPECT_EQ(state(), "30m, Initializing");
    EXPECT_EQ(home.rule(rule).putioFolderID, below);
    EXPECT_EQ(home.rule(rule).localFolderBookmark, std::nullopt);
    EXPECT_EQ(screen.row(0).localFolder, "~/Videos");
    EXPECT_EQ(screen.rowCount(), 1U);
}

}  // namespace
}  // namespace tovri
