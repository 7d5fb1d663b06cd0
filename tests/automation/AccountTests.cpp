// Rules of one account while another one is signed in.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "automation/SyncWorld.h"

namespace tovri::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(RuleAccounts, aRuleOfAnotherOneWaitsAndBeginsAnewWhereTheUserSaysSo) {
    SyncWorld home;
    home.sync->setAccount("ann");
    home.world.addFile("old.mkv", "old");
    const UUID rule = home.watch(rootFolderID, "Your Files");
    EXPECT_EQ(home.rule(rule).account, "ann");
    home.world.addFile("new.mkv", "new");

    home.restart();
    home.sync->setAccount(std::nullopt);  // nobody knows yet
    home.pass();
    home.sync->setAccount("bob");
    (void)home.lines();
    home.pass();
    EXPECT_THAT(home.lines(), ElementsAre("Your Files: waits for the put.io account ann, in which the rule was made"));
    EXPECT_THAT(home.arrived(), IsEmpty());

    home.sync->useAnyAccount(rule);
    home.pass();  // the inventory: what is there stays there
    home.world.addFile("newer.mkv", "newer");
    home.pass();
    EXPECT_THAT(home.arrived(), ElementsAre("newer.mkv"));
    EXPECT_EQ(home.savedRules().front().account, "bob");
}

}  // namespace
}  // namespace tovri::test
