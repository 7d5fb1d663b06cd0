#include "platform/FileMovingContract.h"
#include "platform/MainLoopContract.h"
#include "platform/StoreContracts.h"
#include "platform/TextCollationContract.h"
#include "platform/VolumeQueuesContract.h"
#include "support/MemoryFileManager.h"
#include "support/MemoryStores.h"
#include "support/PlainTextCollation.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {
namespace {

class MemoryWorld final : public FileWorld {
public:
    MemoryWorld() {
        files_.addVolume("/disk");
        files_.addVolume("/other");
    }

    FileManager& files() override { return files_; }

    std::filesystem::path folder() override { return "/disk"; }

    std::filesystem::path folderElsewhere() override { return "/other"; }

private:
    MemoryFileManager files_;
};

class VirtualWorld final : public LoopWorld {
public:
    MainLoop& loop() override { return loop_; }

    BackgroundQueue& queue() override { return queue_; }

    void runUntil(const std::function<bool()>& condition) override { ASSERT_TRUE(loop_.runUntil(condition)); }

private:
    VirtualLoop loop_;
    VirtualBackgroundQueue queue_{loop_};
};

class VirtualLaneWorld final : public LaneWorld {
public:
    VolumeQueues& queues() override { return queues_; }

    void hang(const std::string& lane) override { queues_.hang(lane); }

    void goOn(const std::string& lane) override { queues_.goOn(lane); }

    bool runUntil(const std::function<bool()>& condition) override { return loop_.runUntil(condition); }

private:
    VirtualLoop loop_;
    VirtualVolumeQueues queues_{loop_};
};

template <class World>
auto make() {
    return testing::Values([] { return std::make_unique<World>(); });
}

INSTANTIATE_TEST_SUITE_P(Memory, FileManagerContract, make<MemoryWorld>());
INSTANTIATE_TEST_SUITE_P(Virtual, MainLoopContract, make<VirtualWorld>());
INSTANTIATE_TEST_SUITE_P(Virtual, VolumeQueuesContract, make<VirtualLaneWorld>());
INSTANTIATE_TEST_SUITE_P(Memory, CredentialStoreContract, make<MemoryCredentialStore>());
INSTANTIATE_TEST_SUITE_P(Memory, UserDefaultsContract, make<MemoryUserDefaults>());
INSTANTIATE_TEST_SUITE_P(Plain, TextCollationContract, make<PlainTextCollation>());

}  // namespace
}  // namespace tovri::test
