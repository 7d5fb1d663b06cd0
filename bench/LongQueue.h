#pragma once

#include "downloads/World.h"
#include "platform/icu/ICUTextCollation.h"
#include "screens/downloads/DownloadsScreen.h"
#include "support/FakeWorkspace.h"

namespace tovri::bench {

// A hundred thousand paused downloads in batches of five, on simulated ports, and their screen. Every tenth name is not
// plain ASCII.
class LongQueue {
public:
    static constexpr int itemCount = 100'000;
    static constexpr int batchSize = 5;

    LongQueue() {
        const FolderID folder = world.addFolder("Series");
        for (int i = 0; i < itemCount; ++i) {
            const std::string number = std::to_string(i * 7'919 % itemCount);
            const std::string name =
                i % 10 == 0 ? "Noch ein schöner Film - " : "Some episode with a name of usual length - ";
            const FileID file = world.addFile(name + number, "", folder);
            world.announceSize(file, 734'003'200);
        }
        world.manager().pauseAll();
        world.enqueueFolder(folder, false);
        (void)world.loop.runUntil([this] { return world.manager().downloads().items().size() == itemCount; });
        int i = 0;
        for (const ConstDownloadPointer& item : world.manager().downloads().items()) {
            if (i++ % batchSize == 0) batch_ = world.manager().newBatchID();
            test::changeable(item).batchID = batch_;
        }
    }

    test::World world;
    test::MemoryUserDefaults defaults;
    DesktopPreferences desktop{defaults};
    test::FakeWorkspace workspace;
    SpeedLimit limit{world.loop};
    SpeedControl speed{world.loop, world.clock, world.preferences, limit};
    Notices notices{world.loop};
    ICUTextCollation language{"en_US"};
    DownloadsScreen screen{
        {world.manager(), speed, desktop, workspace, notices, language, world.loop, world.clock, world.random}};

private:
    std::optional<UUID> batch_;
};

}  // namespace tovri::bench
