// Large files over several connections on random days, each from its seed:
// whatever breaks, pauses and dies at whatever place, at the end each file is
// put.io's, byte for byte. TOVRI_SEED=17 replays one.
#include <random>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "support/Seeds.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using std::chrono::milliseconds;

class PartsScenario {
public:
    explicit PartsScenario(std::uint64_t seed) : dice_(seed), losesPower_(seed % 3 == 0) {
        world_.preferences.setMaxConcurrentDownloads(2);
        world_.volumes.longestDelay = milliseconds(roll(2) * roll(200));
        world_.volumes.longestDelays["saves"] = milliseconds(roll(2) * roll(1000));
        world_.http.latency = milliseconds(1 + roll(100));
        world_.storage.latency = milliseconds(1 + roll(100));
        for (int i = 0; i < 2; ++i) addFile("film " + std::to_string(i));
    }

    void run() {
        for (const FileID file : files_) world_.enqueue(file);
        for (int step = 0; step < 25; ++step) {
            act();
            world_.loop.advance(milliseconds(roll(3) == 0 ? roll(2000) : roll(300)));
        }
        finish();
    }

private:
    std::size_t roll(std::size_t sides) { return dice_() % sides; }

    void addFile(const std::string& name) {
        constexpr std::size_t mebibyte = std::size_t{1} << 20U;
        std::string content(16 * mebibyte + roll(8 * mebibyte), '\0');
        for (std::size_t i = 0; i + 8 <= content.size(); i += 8) {
            const std::uint64_t word = dice_();
            content.replace(i, 8, std::string_view(reinterpret_cast<const char*>(&word), 8));
        }
        Checksum checksum;
        checksum.add(content);
        const FileID file = world_.addFile(name, std::move(content));
        if (roll(2) == 0) world_.announceChecksum(file, checksum.text());
        world_.link(file).breaks.reserve(200);  // attempts under way point at them
        world_.link(file).rate = static_cast<ByteCount>(500'000 + roll(4'000'000));
        addBreaks(file);
        files_.push_back(file);
    }

    void addBreaks(FileID file) {
        SimulatedStorage::Link& link = world_.link(file);
        for (std::size_t breaks = roll(6); breaks > 0; --breaks)
            link.breaks.push_back({.at = static_cast<ByteCount>(roll(link.content.size())),
                                   .isResumable = roll(8) > 0,
                                   .fault = roll(6) == 0 ? TransportFault::silent : TransportFault::brokenOff});
        if (roll(6) == 0) link.refusedResumes = 1;
        if (roll(6) == 0) link.expired = 410;
    }

    void act() {
        const ConstDownloadPointer item = world_.find(files_[roll(files_.size())]);
        switch (roll(8)) {
            case 0:
                return world_.manager().pause(item);
            case 1:
            case 2:
                return world_.manager().resumeAll();
            case 3:
                return addBreaks(item->fileID);
            case 4:
                return changeServer();
            case 5:
                return endProcess();
            case 6:
                world_.transfers.limited = roll(3) == 0;
                return;
            default:
                return;
        }
    }

    void changeServer() {
        const int status = roll(2) == 0 ? 503 : 429;
        const std::size_t share = 1 + roll(4);
        world_.storage.refuses = nullptr;
        if (roll(2) == 0) return;
        world_.storage.refuses = [this, status, share](const std::string&) {
            AnswerHead head;
            head.status = status;
            return roll(share) == 0 ? std::optional(head) : std::nullopt;
        };
    }

    void endProcess() {
        if (roll(3) == 0) {
            bool isDone = false;
            world_.manager().suspend([&] { isDone = true; });
            EXPECT_TRUE(world_.loop.runUntil([&] { return isDone; }, std::chrono::seconds(2)));
            world_.manager().saveNow();
        }
        if (losesPower_ && roll(2) == 0)
            world_.losePower();
        else
            world_.kill();
        world_.start();
        for (const FileID file : files_)  // the queue may have been lost with what it said of them
            if (!world_.find(file)) world_.enqueue(file);
    }

    void finish() {
        world_.storage.refuses = nullptr;
        world_.transfers.limited = false;
        for (int round = 0; round < 4; ++round) {
            world_.manager().resumeAll();
            world_.settle();
            for (const ConstDownloadPointer& item : world_.manager().downloads().withStatus(Status::failed))
                world_.manager().retry(item);
        }
        for (const FileID file : files_) {
            const ConstDownloadPointer item = world_.find(file);
            EXPECT_EQ(World::outcome(item), "completed");
            ASSERT_TRUE(item->resolvedURL);
            EXPECT_TRUE(world_.files.content(*item->resolvedURL) == world_.contentOf(file)) << item->fileName;
        }
        EXPECT_TRUE(world_.files.files(World::partials).empty());
    }

    std::mt19937_64 dice_;
    bool losesPower_;
    std::vector<FileID> files_;
    World world_;
};

TEST(PartsScenario, bringsEachByteToItsPlaceWhateverHappens) {
    forEachSeed(20, [](std::uint64_t seed) { PartsScenario(seed).run(); });
}

}  // namespace
}  // namespace tovri::test
