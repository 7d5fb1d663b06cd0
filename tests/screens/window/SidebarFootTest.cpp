#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "screens/window/SidebarFoot.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class Foot : public testing::Test {
public:
    Foot() {
        world.files.setCapacity("/", 10'000'000);
        world.interferes = [this](const HTTPRequest& request) -> std::optional<Result<HTTPResponse>> {
            if (!request.url.ends_with("/account/info")) return std::nullopt;
            ++accountRequests;
            return HTTPResponse{200, R"({"info":{"username":"ann","disk":{"used":1000000,"size":4000000}}})"};
        };
        world.signIn();
    }

    [[nodiscard]] std::string shown() const {
        std::string text;
        for (const SidebarFoot::Line& line : foot.lines()) text += line.text + ". ";
        return text;
    }

    // On the disk, in MB.
    [[nodiscard]] ByteCount room() const {
        const auto& lines = foot.lines();
        return lines.empty() ? 0 : std::stoll(lines.back().text);
    }

    void fill(ByteCount bytes) {
        world.files.put("/home/user/filler", std::string(static_cast<std::size_t>(bytes), ' '));
    }

    static inline const std::string lane = "room of " + World::downloads.native();

    World world;
    int accountRequests = 0;
    MemoryUserDefaults kept;
    AccountInfo account{world.auth(), world.http, world.platform(), ServiceHosts{}, kept};
    SidebarFoot foot{{account, world.manager(), world.preferences, world.loop, world.files, world.volumes}};
};

TEST_F(Foot, tellsTheAccountAndTheRoomOnPutIOAndOnTheDisk) {
    EXPECT_EQ(shown(), "");
    fill(4'000'000);
    foot.appear();
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "ann. 3 MB free on put.io. 6 MB free on disk. ");
    world.loop.advance(1h);
    EXPECT_LE(accountRequests, 1 + 60 / 4);
    foot.disappear();
    world.loop.advance(10min);
    const int before = accountRequests;
    world.loop.advance(1h);
    EXPECT_EQ(accountRequests, before);
    EXPECT_TRUE(world.loop.isIdle());
}

TEST_F(Foot, looksAgainAfterDownloadsOnceAMinute) {
    foot.appear();
    world.loop.advance(10s);
    fill(4'000'000);
    for (const char* name : {"a", "b", "c"}) (void)world.enqueue(world.addFile(name, "new"));
    world.loop.advance(40s);
    EXPECT_EQ(room(), 10);
    world.loop.advance(15s);
    EXPECT_EQ(room(), 6);
}

TEST_F(Foot, neitherShowsNorAwaitsAVolumeThatHangs) {
    foot.appear();
    world.loop.advance(1s);
    world.volumes.hang(lane);
    world.loop.advance(10min);
    EXPECT_EQ(shown(), "ann. 3 MB free on put.io. ");
    world.preferences.setDownloadFolder("/srv/other");
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "ann. 3 MB free on put.io. 10 MB free on disk. ");
    world.preferences.setDownloadFolder(World::downloads);
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "ann. 3 MB free on put.io. ");
    world.volumes.goOn(lane);
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "ann. 3 MB free on put.io. 10 MB free on disk. ");
}

}  // namespace
}  // namespace tovri::test
