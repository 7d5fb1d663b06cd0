// The engine between the threads of the real adapters: those that ask and receive, those of the volumes, which write,
// note and sync, and the main loop, which divides what is missing.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "downloads/DownloadManager.h"
#include "downloads/PutIODownloadService.h"
#include "limits/LimitedSessions.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "sandbox/Sandbox.h"
#include "sandbox/faults/FaultSettings.h"
#include "support/ComesTrue.h"
#include "support/FakeSleepClock.h"
#include "support/MemoryStores.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

using Status = Download::Status;

constexpr std::uint64_t mebibyte = 1U << 20U;

class NobodySignsIn final : public WebAuthentication {
public:
    Subscription authenticate(const std::string& /*url*/, const std::string& /*callbackScheme*/,
                              Done /*done*/) override {
        return {};
    }
};

class RunningSandbox final : public sandbox::Sandbox {
public:
    RunningSandbox() { start(); }
};

class EngineThreads : public testing::Test {
protected:
    EngineThreads() {
        (void)auth_.signInWithToken(sandbox_.settings().token);
        manager_.configure(service_, preferences_);
        manager_.restoreQueue();
    }

    ConstDownloadPointer enqueue(const std::string& name, std::uint64_t size) {
        const auto id = sandbox_.account().addFile(sandbox::rootID, {name, size});
        Checksum checksum;
        checksum.add(contentOf(id));
        PutIOFile file;
        file.id = FileID(static_cast<std::int64_t>(id));
        file.name = name;
        file.size = static_cast<ByteCount>(size);
        file.crc32 = checksum.text();
        return manager_.enqueue(file, {.destination = DestinationFolder{folder_.path / "here", {}}});
    }

    std::string contentOf(std::int64_t id) {
        const sandbox::Content content = sandbox_.account().find(id).value().content();
        std::string bytes(content.size(), '\0');
        content.read(0, bytes);
        return bytes;
    }

    // Until all has come to its end. Looks at each change.
    void run(const std::function<void(const QueueChange&)>& look) {
        const Subscription changes = manager_.onChange([&](const QueueChange& change) {
            look(change);
            if (!manager_.hasUnfinishedWork() && manager_.downloads().count(Status::paused) == 0) loop_.quit();
        });
        const Subscription limit = loop_.schedule(patience, [this] { loop_.quit(); });
        loop_.run();
    }

    void expectArrived(const ConstDownloadPointer& item) {
        EXPECT_EQ(item->status, Status::completed) << item->error.value_or("");
        std::ostringstream bytes;
        bytes << std::ifstream(folder_.path / "here" / item->fileName).rdbuf();
        EXPECT_TRUE(bytes.str() == contentOf(item->fileID.number));
        EXPECT_EQ(item->arrivedChecksum, item->crc32);
    }

    TemporaryFolder folder_;
    RunningSandbox sandbox_;
    PosixMainLoop loop_;
    SystemClock clock_;
    SystemRandom random_;
    PosixFileManager files_;
    PathFolderAccess access_;
    PosixBackgroundQueue background_{loop_};
    PosixVolumeQueues volumes_;
    FakeSleepClock sleep_;
    RecordingLog log_;
    const Platform platform_{loop_,    clock_,  random_,
                             files_,   access_, background_,
                             volumes_, log_,    {folder_.path, folder_.path / "data", folder_.path / "temporary"}};
    MemoryUserDefaults defaults_;
    Preferences preferences_{defaults_, access_, folder_.path};
    MemoryCredentialStore credentials_;
    NobodySignsIn web_;
    CurlHTTPSession http_{loop_, sleep_};
    CurlTransferSession transfers_{loop_, sleep_};
    SpeedLimit limit_{loop_};
    LimitedTransferSession limited_{transfers_, limit_};
    AuthManager auth_{credentials_, web_, loop_, ServiceHosts{}};
    PutIOAPI api_{auth_, http_, servicePorts(platform_), ServiceHosts{.api = sandbox_.apiURL()}};
    PutIODownloadService service_{api_};
    DownloadManager manager_{downloadPorts(platform_, limited_)};
};

// Paused in the middle, so that all of them end at once and begin again.
TEST_F(EngineThreads, aFileComesOverSeveralConnections) {
    sandbox_.faults().add(*sandbox::parseFault("storage:*:rate=3MiB"));
    const ConstDownloadPointer item = enqueue("film", 32 * mebibyte);
    bool wasPaused = false;
    run([&](const QueueChange& change) {
        if (change.item != item) return;
        const bool isHalf = item->bytesDownloaded > static_cast<ByteCount>(16 * mebibyte);
        if (isHalf && !std::exchange(wasPaused, true)) loop_.post([this, item] { manager_.pause(item); });
        if (item->status == Status::paused) loop_.post([this, item] { manager_.resume(item); });
    });
    EXPECT_TRUE(wasPaused) << item->bytesDownloaded;
    expectArrived(item);
    EXPECT_GE(sandbox_.log().statistics().maxConcurrentTransfers, 3U);
    EXPECT_LE(sandbox_.log().statistics().storageBytes, 34 * mebibyte) << "nothing comes twice";
}

TEST_F(EngineThreads, aLimitIsSharedAndLifted) {
    limit_.set(BytesPerSecond{3'000'000});
    const ConstDownloadPointer items[] = {enqueue("a", 2 * mebibyte), enqueue("b", 2 * mebibyte),
                                          enqueue("c", 2 * mebibyte)};
    run([&](const QueueChange&) {
        if (items[0]->bytesDownloaded > static_cast<ByteCount>(mebibyte)) limit_.set(std::nullopt);
    });
    for (const ConstDownloadPointer& item : items) expectArrived(item);
}

}  // namespace
}  // namespace tovri::test
