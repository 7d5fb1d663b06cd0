// Items of one account while another one is signed in.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Accounts : public testing::Test {
public:
    // 100 KB in ten seconds.
    ConstDownloadPointer enqueue(const std::string& name) {
        const FileID file = world.addFile(name, std::string(100'000, name.front()));
        world.link(file).rate = 10'000;
        return world.enqueue(file);
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
