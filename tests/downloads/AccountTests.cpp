// Items of one account while another one is signed in.
#include <algorithm>
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Accounts : public testing::Test {
public:
    // 100 KB.
    ConstDownloadPointer enqueue(const std::string& name, std::chrono::seconds time = 10s) {
        const FileID file = world.addFile(name, std::string(100'000, name.front()));
        world.link(file).rate = 100'000 / time.count();
        return world.enqueue(file);
    }

    [[nodiscard]] std::ptrdiff_t linksAskedOf(const ConstDownloadPointer& item) const {
        const std::string end = "/files/" + item->fileID.text() + "/url";
        return std::ranges::count_if(world.http.requests, [&](const auto& each) { return each.url.ends_with(end); });
    }

    World world;
};

TEST_F(Accounts, itemsOfAnotherOneWaitUntilItIsBackOrTheUserSaysSo) {
    world.manager().setAccount("ann");
    const ConstDownloadPointer first = enqueue("a");
    const ConstDownloadPointer second = enqueue("b");
    world.loop.advance(4s);
    world.manager().setAccount(std::nullopt);
    world.manager().setAccount("bob");
    world.loop.advance(1h);
    for (const ConstDownloadPointer& item : {first, second}) {
        EXPECT_EQ(item->status, Status::queued);
        ASSERT_TRUE(item->hold);
        EXPECT_EQ(item->hold->text, "Waiting for the put.io account ann, in which it was queued");
    }
    EXPECT_EQ(world.transfersOf(first->fileID), 1U);
    EXPECT_FALSE(world.manager().canRunNow());

    world.manager().useAnyAccount(first);
    EXPECT_TRUE(world.runUntil(first, Status::completed)) << World::outcome(first);
    EXPECT_EQ(second->status, Status::queued);
    world.manager().setAccount("ann");
    EXPECT_TRUE(world.runUntil(second, Status::completed)) << World::outcome(second);
    EXPECT_EQ(world.storage.resumed, 2);
}

TEST_F(Accounts, noLinkIsAskedForAheadOfTheirTurn) {
    world.preferences.setMaxConcurrentDownloads(1);
    world.manager().setAccount("bob");
    const ConstDownloadPointer bobs = enqueue("b", 1000s);
    world.manager().setAccount("ann");
    world.loop.advance(1s);
    const ConstDownloadPointer anns = enqueue("a", 1000s);
    world.loop.advance(1s);
    const ConstDownloadPointer next = enqueue("n");
    world.manager().moveToTop(bobs);
    world.loop.advance(2min);  // a link that was asked for is too old by now
    const auto before = linksAskedOf(next);
    EXPECT_GT(before, 0);
    world.manager().setAccount("bob");
    world.loop.advance(1min);
    EXPECT_EQ(bobs->status, Status::downloading);
    EXPECT_EQ(anns->status, Status::queued);
    EXPECT_EQ(linksAskedOf(next), before);
}

TEST_F(Accounts, nothingIsTakenBackIntoAnotherOne) {
    world.manager().setAccount("ann");
    const ConstDownloadPointer item = enqueue("a");
    world.loop.advance(4s);
    world.manager().cancelAll();
    world.manager().setAccount("bob");
    world.manager().takeBack();
    world.loop.advance(1min);
    EXPECT_EQ(item->status, Status::queued);
    EXPECT_TRUE(item->hold);
    EXPECT_EQ(world.transfersOf(item->fileID), 1U);
    world.manager().setAccount("ann");
    EXPECT_TRUE(world.runUntil(item, Status::completed)) << World::outcome(item);
    EXPECT_EQ(world.storage.resumed, 1);
}

TEST_F(Accounts, areRememberedAcrossRestarts) {
    world.manager().setAccount("ann");
    const UUID id = enqueue("a")->id;
    world.manager().saveNow();
    world.kill();
    world.start();
    world.manager().setAccount("bob");
    world.loop.advance(1min);
    const ConstDownloadPointer item = world.manager().downloads().find(id);
    ASSERT_TRUE(item && item->account);
    EXPECT_EQ(*item->account, "ann");
    EXPECT_TRUE(item->hold);
    EXPECT_EQ(item->status, Status::queued);
}

}  // namespace
}  // namespace tovri::test
