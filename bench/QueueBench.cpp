// Measures what a long queue costs: reading it back, saving it, keeping it, changing it item by item. Prints one JSON
// object.
//
//     queue-bench FOLDER ITEMS
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "downloads/DownloadManager.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/process/StandardOutputLog.h"

using namespace tovri;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

// A line of /proc/self/status, in bytes.
double processMemory(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) * 1024;
    return 0;
}

// Saves nothing and moves nothing: the engine under test starts no transfer.
class NoTransfers final : public TransferSession {
public:
    Subscription fetch(TransferRequest /*request*/, Done /*done*/) override { return {}; }
};

void writeQueue(const std::filesystem::path& folder, int items, RandomSource& random) {
    QueueSnapshot snapshot;
    SharedFolder destination;
    for (int i = 0; i < items; ++i) {
        if (i % 200 == 0)
            destination = std::make_shared<const std::filesystem::path>("/home/somebody/Downloads/Series/Season " +
                                                                        std::to_string(i / 200));
        DownloadRecord record;
        record.id = random.makeUUID();
        record.fileID = FileID(1'000'000 + i);
        record.fileName = "Some episode with a name of usual length - " + std::to_string(i) + ".mkv";
        record.fileSize = 734'003'200;
        record.destinationFolder = destination;
        snapshot.downloads.push_back(std::move(record));
    }
    std::filesystem::create_directories(folder);
    std::ofstream file(folder / "queue.json");
    (void)encodeQueue(snapshot, [&](std::string_view piece) {
        file << piece;
        return Result<void>();
    });
}

// Ticks every millisecond and keeps the longest time between two ticks beyond that.
class LongestHold {
public:
    explicit LongestHold(MainLoop& loop) : loop_(loop) { tick(); }

    [[nodiscard]] Clock::duration longest() const { return longest_; }

private:
    void tick() {
        const auto now = loop_.now();
        if (last_ != Clock::time_point()) longest_ = std::max(longest_, now - last_ - 1ms);
        last_ = now;
        timer_ = loop_.schedule(1ms, [this] { tick(); });
    }

    MainLoop& loop_;
    Clock::time_point last_;
    Clock::duration longest_{};
    Subscription timer_;
};

// Adds as many items, one by one.
Clock::duration enqueue(DownloadManager& manager, int items) {
    PutIOFile file;
    file.name = "Some episode.mkv";
    const DownloadManager::EnqueueOptions options{.destination = DestinationFolder{"/home/somebody/Downloads", {}}};
    const auto start = Clock::now();
    for (file.id = FileID(1); file.id.number <= items; ++file.id.number) manager.enqueue(file, options);
    return Clock::now() - start;
}

// Takes as many off the top, one by one.
Clock::duration remove(DownloadManager& manager, int items) {
    const auto start = Clock::now();
    for (int i = 0; i < items; ++i) manager.remove(manager.downloads().items().front());
    return Clock::now() - start;
}

int measure(const std::filesystem::path& folder, int items) {
    PosixMainLoop loop;
    SystemClock clock;
    SystemRandom random;
    PosixFileManager files;
    PathFolderAccess folderAccess;
    PosixBackgroundQueue background(loop);
    PosixVolumeQueues volumes;
    StandardOutputLog log(stderr);
    const Platform platform{
        loop, clock, random, files, folderAccess, background, volumes, log, {folder, folder, folder}};

    const double before = processMemory("VmRSS");
    const auto start = Clock::now();
    NoTransfers transfers;
    DownloadManager manager(downloadPorts(platform, transfers));
    manager.restoreQueue();
    const auto restored = Clock::now() - start;
    const double after = processMemory("VmRSS");

    const LongestHold hold(loop);
    const auto timer = loop.schedule(3s, [&] { loop.quit(); });
    loop.run();
    const double peak = processMemory("VmHWM");

    const auto count = static_cast<double>(manager.downloads().items().size());
    const auto enqueued = enqueue(manager, items);
    const auto removed = remove(manager, items / 2);
    std::cout << "{\"items\": " << count << ", \"restoreMilliseconds\": " << milliseconds(restored)
              << ", \"saveHoldMilliseconds\": " << milliseconds(hold.longest())
              << ", \"enqueueMilliseconds\": " << milliseconds(enqueued)
              << ", \"removeMilliseconds\": " << milliseconds(removed)
              << ", \"bytesPerItem\": " << (after - before) / count
              << ", \"peakBytesPerItem\": " << (peak - before) / count << "}\n";
    return count == items ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3 && count != 4) {
        std::cerr << "queue-bench FOLDER ITEMS [write]\n";
        return 2;
    }
    const std::filesystem::path folder = arguments[1];
    const int items = std::atoi(arguments[2]);
    if (count == 3) return measure(folder, items);
    SystemRandom random;
    writeQueue(folder, items, random);
    return 0;
}
