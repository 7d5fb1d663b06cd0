// Links that are asked for ahead, and a file over several connections.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Links : public testing::Test {
public:
    // Comes in a tenth of a second, from its look-up on.
    FileID addFile(const std::string& name) {
        const FileID file = world.addFile(name, std::string(1000, 'x'));
        world.link(file).rate = 10'000;
        return file;
    }

    World world;
};

// Each look-up and each file takes its time: with the links at hand the files come twice as fast.
TEST_F(Links, areAskedForWhileTheSlotsAreBusy) {
    world.http.latency = 100ms;
    world.preferences.setMaxConcurrentDownloads(2);
    std::vector<ConstDownloadPointer> items;
    items.reserve(20);
    for (int i = 0; i < 20; ++i) items.push_back(world.enqueue(addFile("file " + std::to_string(i))));
    const auto begin = world.loop.now();
    for (const ConstDownloadPointer& item : items) EXPECT_TRUE(world.runUntil(item, Status::completed));
    EXPECT_LT(world.loop.now() - begin, 1700ms);
    EXPECT_EQ(world.http.requests.size(), 20U);
}

TEST_F(Links, areAskedForAnewWhereTheirFirstUseIsRefused) {
    world.preferences.setMaxConcurrentDownloads(1);
    world.enqueue(addFile("first"));
    const ConstDownloadPointer next = world.enqueue(addFile("next"));
    ASSERT_TRUE(world.loop.runUntil([&] { return world.http.requests.size() == 2; }, 50ms)) << "looked ahead";
    world.loop.advance(20ms);
    world.link(next->fileID).expired = 410;
    EXPECT_TRUE(world.runUntil(next, Status::completed)) << World::outcome(next);
    EXPECT_EQ(world.http.requests.size(), 3U);
    EXPECT_EQ(world.transfersOf(next->fileID), 2U);
}

TEST_F(Links, followTheOrderOfTheQueue) {
    world.http.latency = 10ms;
    world.preferences.setMaxConcurrentDownloads(1);
    world.enqueue(addFile("first"));
    const ConstDownloadPointer later = world.enqueue(addFile("later"));
    const ConstDownloadPointer next = world.enqueue(addFile("next"));
    world.loop.advance(50ms);
    world.manager().moveToTop(later);
    world.loop.advance(30ms);
    EXPECT_TRUE(world.http.requests.back().url.contains(later->fileID.text()));
    world.manager().pauseAll();
    EXPECT_EQ(world.http.requests.size(), 3U);
    world.loop.advance(2min);
    world.manager().resumeAll();
    EXPECT_TRUE(world.runUntil(next, Status::completed)) << World::outcome(next);
}

}  // namespace
}  // namespace tovri::test
