#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {

// A machine that transfers have left bytes on, and what must have become of them.
class GoingOn : public testing::Test {
public:
    using Path = World::Path;

    GoingOn() { world.files.addVolume(usb); }

    // 3000 bytes, 100 in a second.
    FileID slowFile(const std::string& name = "movie") {
        const FileID file = world.addFile(name, contentOf('a'));
        world.link(file).rate = rate;
        return file;
    }

    [[nodiscard]] static std::string contentOf(char letter) {
        std::string content;
        for (int i = 0; i < 300; ++i) content += letter + std::to_string(100'000'000 + i);
        return content;
    }

    void list(FileID file, const std::string& content) {
        Checksum checksum;
        checksum.add(content);
        world.announceChecksum(file, checksum.text());
    }

    ConstDownloadPointer enqueue(FileID file, const Path& folder = World::downloads) {
        return world.enqueue(file, {.destination = DestinationFolder{folder, {}}});
    }

    // One that has failed after its first 500 bytes.
    ConstDownloadPointer failed(FileID file) {
        world.link(file).breaks = {{.at = 500, .fault = TransportFault::none}};
        ConstDownloadPointer item = enqueue(file);
        EXPECT_TRUE(world.runUntil(item, Download::Status::failed));
        world.settle();
        return item;
    }

    void restart() {
        world.kill();
        world.start();
    }

    // It has arrived as put.io has it, and nothing is left of the way.
    void expectArrived(const ConstDownloadPointer& item, const Path& folder = World::downloads) {
        world.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.files.content(folder / item->fileName), world.link(item->fileID).content);
        EXPECT_THAT(world.files.files(World::partials), testing::IsEmpty());
        for (const auto& [path, content] : world.files.files(usb))
            EXPECT_THAT(path.native(), testing::Not(testing::HasSubstr("/.tovri-")));
    }

    // So many bytes have come more than once.
    [[nodiscard]] ByteCount cameTwice() const { return world.storage.bytesSent - length; }

    void expectNotRestarted() {
        for (const std::string& line : world.log.lines)
            EXPECT_THAT(line, testing::Not(testing::HasSubstr("Resume failed")));
    }

    static constexpr ByteCount rate = 100;
    static constexpr ByteCount length = 3000;
    static inline const Path usb = "/mnt/usb";
    World world;
};

}  // namespace tovri::test
