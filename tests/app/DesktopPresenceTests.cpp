#include <gtest/gtest.h>

#include "app/DesktopPresence.h"
#include "downloads/World.h"

namespace tovri::test {
namespace {

class CountingInhibitor final : public SleepInhibitor {
public:
    Subscription keepAwake(const std::string& /*reason*/) override {
        ++held;
        ++asked;
        return Subscription([this] { --held; });
    }

    int held = 0;
    int asked = 0;
};

class RecordingNotifications final : public UserNotifications {
public:
    void show(const std::string& title, const std::string& text) override { shown.push_back(title + ": " + text); }

    std::vector<std::string> shown;
};

class DesktopPresenceTest : public testing::Test {
public:
    World world;
    CountingInhibitor inhibitor;
    RecordingNotifications notifications;
    bool isInFront = false;
    DesktopPreferences preferences{world.defaults};
    FileBrowserState uploads{world.loop, world.random};
    DesktopPresence presence{
        {world.loop, inhibitor, notifications, [this] { return isInFront; }}, world.manager(), uploads, preferences};
};

TEST_F(DesktopPresenceTest, staysAwakeWhileBytesMoveAndTellsTheEndOnce) {
    const ConstDownloadPointer item = world.enqueue(world.addFile("a.mkv", "abc"));
    world.enqueue(world.addFile("b.mkv", "abc"));
    ASSERT_TRUE(world.runUntil(item, Download::Status::downloading));
    world.loop.runUntilIdle();
    EXPECT_EQ(inhibitor.held, 1);
    preferences.setKeepsAwake(false);
    EXPECT_EQ(inhibitor.held, 0);
    world.settle();
    EXPECT_EQ(notifications.shown, (std::vector<std::string>{"Downloads are done: 2 files have arrived."}));
}

TEST_F(DesktopPresenceTest, saysWhatArrivedOtherwiseThanPutIOHasIt) {
    const FileID file = world.addFile("a.mkv", "abc");
    world.announceSize(file, 5);
    world.enqueue(file);
    world.enqueue(world.addFile("b.mkv", "abc"));
    world.settle();
    EXPECT_EQ(notifications.shown,
              (std::vector<std::string>{"Downloads are done: 2 files have arrived, 1 of them not as put.io has it."}));
}

TEST_F(DesktopPresenceTest, staysAwakeForUploadsToo) {
    uploads.configure(world.api());
    uploads.uploadFiles({"/home/user/a.mkv"}, rootFolderID);
    world.settle();
    EXPECT_EQ(inhibitor.asked, 1);
    EXPECT_EQ(inhibitor.held, 0);
    EXPECT_TRUE(notifications.shown.empty());
}

TEST_F(DesktopPresenceTest, tellsTheFirstFailureAtOnceAndAllAtTheEnd) {
    const FileID broken[] = {world.addFile("broken.mkv", "abc"), world.addFile("lost.mkv", "abc")};
    const FileID slow = world.addFile("slow.mkv", std::string(1000, 'x'));
    world.link(slow).rate = 10;
    world.enqueue(slow);
    for (const FileID file : broken) {
        world.refusals[file] = 1000;
        world.enqueue(file);
    }
    world.settle();
    ASSERT_EQ(notifications.shown.size(), 2U);
    EXPECT_TRUE(notifications.shown[0].starts_with("A download has failed: “")) << notifications.shown[0];
    EXPECT_EQ(notifications.shown[1], "Downloads are done: 1 file has arrived, 2 files failed.");
}

TEST_F(DesktopPresenceTest, tellsAFailureAfterThoseThatWereSeen) {
    const FileID slow = world.addFile("slow.mkv", std::string(1000, 'x'));
    world.link(slow).rate = 10;
    world.enqueue(slow);
    for (const char* name : {"seen.mkv", "missed.mkv"}) {
        const FileID broken = world.addFile(name, "abc");
        world.refusals[broken] = 1000;
        isInFront = std::string_view(name) == "seen.mkv";
        ASSERT_TRUE(world.runUntil(world.enqueue(broken), Download::Status::failed));
        world.loop.advance(std::chrono::milliseconds(1));
    }
    ASSERT_EQ(notifications.shown.size(), 1U);
    EXPECT_TRUE(notifications.shown[0].starts_with("A download has failed: “missed.mkv”: ")) << notifications.shown[0];
}

TEST_F(DesktopPresenceTest, saysNothingToWhoeverLooksOrWantsNoWord) {
    isInFront = true;
    world.enqueue(world.addFile("a.mkv", "abc"));
    world.settle();
    isInFront = false;
    world.manager().cancel(world.enqueue(world.addFile("b.mkv", "abc")));
    world.settle();
    preferences.setNotifies(false);
    world.enqueue(world.addFile("c.mkv", "abc"));
    world.settle();
    EXPECT_TRUE(notifications.shown.empty());
}

}  // namespace
}  // namespace tovri::test
