#pragma once

#include <chrono>

#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {

inline Error away(const char* host) {
    return {TransportFault::unreachable, std::string("Could not connect to ") + host + "; retry."};
}

inline AnswerHead refusal(int status, RetryHints hints = {}) {
    AnswerHead head;
    head.status = status;
    head.retryHints = std::move(hints);
    return head;
}

// Files that are on their way, and the faults that they meet.
class RidingOut : public testing::Test {
public:
    FileID addFile(const std::string& name, std::size_t size = 100'000, int seconds = 10) {
        const FileID file = world.addFile(name, name + std::string(size, '.'));
        world.link(file).rate = static_cast<ByteCount>(size) / seconds;
        allBytes += static_cast<ByteCount>(name.size() + size);
        return file;
    }

    // Storage answers so the next times.
    void storageRefuses(int status, int times, RetryHints hints = {}) {
        world.storage.refuses = [this, status, left = times, hints](const std::string&) mutable {
            if (left-- <= 0) return std::optional<AnswerHead>();
            ++refused;
            return std::optional(refusal(status, hints));
        };
    }

    // And the interface, to questions.
    void serviceRefuses(int times, const Result<HTTPResponse>& answer) {
        world.interferes = [this, left = times, answer](const HTTPRequest& request) mutable {
            const bool strikes = request.method == "GET" && left-- > 0;
            if (strikes) ++refused;
            return strikes ? std::optional(answer) : std::nullopt;
        };
    }

    // Nobody is there until then.
    void cutOff(MainLoop::Duration duration) {
        const auto until = world.loop.now() + duration;
        world.storage.keepsAway = [this, until](const std::string&) -> std::optional<Error> {
            if (world.loop.now() >= until) return std::nullopt;
            ++refused;
            return away("storage.put.io");
        };
        world.interferes = [this, until](const HTTPRequest&) -> std::optional<Result<HTTPResponse>> {
            if (world.loop.now() >= until) return std::nullopt;
            ++refused;
            return failure(away("api.put.io"));
        };
    }

    void settle() {
        ASSERT_TRUE(world.loop.runUntil([this] { return world.loop.isIdle(); }, std::chrono::hours(48)));
    }

    void expectArrived(const ConstDownloadPointer& item) {
        EXPECT_EQ(World::outcome(item), "completed") << item->fileName;
        EXPECT_EQ(world.files.content(World::downloads / item->fileName), world.contentOf(item->fileID));
        EXPECT_FALSE(item->tries || item->hold);
    }

    void expectAllArrived() {
        for (const ConstDownloadPointer& item : manager.downloads().items()) expectArrived(item);
        EXPECT_TRUE(world.files.files(World::partials).empty());
    }

    World world;
    DownloadManager& manager = world.manager();
    ByteCount allBytes = 0;
    int refused = 0;
};

// One of several in a test.
class Fresh final : public RidingOut {
    void TestBody() override {}
};

}  // namespace tovri::test
