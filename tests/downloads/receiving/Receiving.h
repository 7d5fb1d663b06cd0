#pragma once

#include <chrono>

#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {

// Files on their way to volumes of their own.
class Receiving : public testing::Test {
public:
    using Path = World::Path;

    Receiving() {
        world.files.addVolume(usb);
        world.files.put(usb / "Shows/already there", "x");
    }

    ConstDownloadPointer enqueueTo(const Path& folder, const std::string& name, std::string content) {
        return world.enqueue(world.addFile(name, std::move(content)), {.destination = DestinationFolder{folder, {}}});
    }

    // One that takes half a minute.
    ConstDownloadPointer enqueueSlowly(const Path& folder, const std::string& name) {
        const ConstDownloadPointer item = enqueueTo(folder, name, std::string(3000, 'x'));
        world.link(item->fileID).rate = 100;
        return item;
    }

    // Paths of the private folders below the folder.
    [[nodiscard]] std::vector<Path> receivingFolders(const Path& folder) {
        std::vector<Path> found;
        const auto entries = world.files.directoryContents(folder);
        for (const Path& entry : entries.value_or(std::vector<Path>()))
            if (entry.filename().native().starts_with(".tovri-")) found.push_back(entry);
        return found;
    }

    [[nodiscard]] std::string list() { return world.files.content(World::data / "receiving-folders").value_or(""); }

    void restart() {
        world.kill();
        world.settle();
        world.start();
    }

    // Ends the process as a user does who quits.
    void quit() {
        bool isDone = false;
        world.manager().suspend([&] { isDone = true; });
        EXPECT_TRUE(world.loop.runUntil([&] { return isDone; }, std::chrono::seconds(3)));
        EXPECT_TRUE(world.manager().saveNow());
        world.kill();
        world.settle();
    }

    [[nodiscard]] std::string laneOf(const Path& folder) {
        return "volume " + std::to_string(world.files.identity(folder)->volume);
    }

    static inline const Path usb = "/mnt/usb";
    World world;
};

}  // namespace tovri::test
