#include "platform/FileMovingContract.h"
#include "platform/MainLoopContract.h"
#include "platform/StoreContracts.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/stores/FileCredentialStore.h"
#include "platform/posix/stores/FileUserDefaults.h"
#include "support/MemoryStores.h"
#include "support/TemporaryFolder.h"

namespace tovri::test {
namespace {

// Where the machine has a second file system in memory, files travel between the two.
class DiskWorld final : public FileWorld {
public:
    FileManager& files() override { return files_; }

    std::filesystem::path folder() override { return here_.path; }

    std::filesystem::path folderElsewhere() override { return elsewhere_.path; }

private:
    static std::filesystem::path otherVolume() {
        const std::filesystem::path memory = "/dev/shm";
        return std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    }

    PosixFileManager files_;
    TemporaryFolder here_;
    TemporaryFolder elsewhere_{otherVolume()};
};

class PosixWorld final : public LoopWorld {
public:
    MainLoop& loop() override { return loop_; }

    BackgroundQueue& queue() override { return queue_; }

    // The condition is looked at after each turn of the loop in which something happened.
    void runUntil(const std::function<bool()>& condition) override {
        std::function<void()> look = [&] {
            if (condition()) {
                loop_.quit();
            } else {
                again_ = loop_.schedule(std::chrono::microseconds(100), [&] { look(); });
            }
        };
        look();
        loop_.run();
    }

private:
    PosixMainLoop loop_;
    PosixBackgroundQueue queue_{loop_};
    Subscription again_;
};

// A store in a file of its own.
template <class Store>
struct InFile;

template <>
struct InFile<UserDefaults> final : UserDefaults {
    std::optional<std::string> string(std::string_view key) override { return store().string(key); }

    std::optional<bool> boolean(std::string_view key) override { return store().boolean(key); }

    std::optional<std::int64_t> integer(std::string_view key) override { return store().integer(key); }

    std::optional<ByteBlob> data(std::string_view key) override { return store().data(key); }

    void setString(std::string_view key, std::string_view value) override { store().setString(key, value); }

    void setBoolean(std::string_view key, bool value) override { store().setBoolean(key, value); }

    void setInteger(std::string_view key, std::int64_t value) override { store().setInteger(key, value); }

    void setData(std::string_view key, std::string_view bytes) override { store().setData(key, bytes); }

    void remove(std::string_view key) override { store().remove(key); }

    // Opened anew for each operation, as a later run of the program would.
    FileUserDefaults& store() {
        opened.emplace(files, log, folder.path / "new" / "preferences.json");
        return *opened;
    }

    TemporaryFolder folder;
    PosixFileManager files;
    RecordingLog log;
    std::optional<FileUserDefaults> opened;
};

template <>
struct InFile<CredentialStore> final : CredentialStore {
    std::optional<std::string> load(const std::string& account) override { return store.load(account); }

    void save(const std::string& account, const std::string& value) override { store.save(account, value); }

    void remove(const std::string& account) override { store.remove(account); }

    TemporaryFolder folder;
    PosixFileManager files;
    FileCredentialStore store{files, folder.path / "new" / "credentials.json"};
};

template <class World>
auto make() {
    return testing::Values([] { return std::make_unique<World>(); });
}

INSTANTIATE_TEST_SUITE_P(Disk, FileManagerContract, make<DiskWorld>());
INSTANTIATE_TEST_SUITE_P(Posix, MainLoopContract, make<PosixWorld>());
INSTANTIATE_TEST_SUITE_P(File, UserDefaultsContract, make<InFile<UserDefaults>>());
INSTANTIATE_TEST_SUITE_P(File, CredentialStoreContract, make<InFile<CredentialStore>>());

}  // namespace
}  // namespace tovri::test
