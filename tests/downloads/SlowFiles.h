#pragma once

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {

// Files that take their time, and what has become of them.
class SlowFiles : public testing::Test {
public:
    // A file of so many bytes that takes so many seconds.
    FileID slowFile(const std::string& name, int seconds = 10) {
        const FileID file = world.addFile(name, name + std::string(1000, '.'));
        world.link(file).rate = static_cast<ByteCount>(1000 + name.size()) / seconds;
        return file;
    }

    // In the midst of its transfer.
    ConstDownloadPointer running(const std::string& name) {
        const ConstDownloadPointer item = world.enqueue(slowFile(name));
        world.loop.advance(std::chrono::seconds(5));
        EXPECT_GT(item->bytesDownloaded, 0);
        return item;
    }

    [[nodiscard]] std::string statuses() {
        std::string text;
        for (const ConstDownloadPointer& item : world.manager().downloads().items())
            text += item->fileName + ":" + std::string(rawValue(item->status)) + " ";
        return text;
    }

    void expectArrived(const ConstDownloadPointer& item) {
        world.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.files.content(World::downloads / item->fileName), world.contentOf(item->fileID));
    }

    World world;
    DownloadManager& manager = world.manager();
};

}  // namespace tovri::test
