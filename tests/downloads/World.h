#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadManager.h"
#include "downloads/PutIODownloadService.h"
#include "support/FakeFolderAccess.h"
#include "support/MemoryFileManager.h"
#include "support/MemoryStores.h"
#include "support/ScriptedSessions.h"
#include "support/SeededRandom.h"
#include "support/SimulatedTransferSession.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {

// Refuses lines that speak of a fault of the program.
class FaultlessLog final : public RecordingLog {
public:
    void line(std::string_view text) override;
};

// To put an item into a state to which no step leads.
[[nodiscard]] inline Download& changeable(const ConstDownloadPointer& item) {
    return *std::const_pointer_cast<Download>(item);
}

// A put.io account and the one machine that downloads from it. The account outlives the machine's processes, and fails
// the test when something is deleted from it that a loss of power could still take from the machine.
class World {
public:
    using Path = std::filesystem::path;

    World();
    ~World();

    // --- put.io ---

    FileID addFile(std::string name, std::string content, FolderID folder = rootFolderID);
    FolderID addFolder(std::string name, FolderID folder = rootFolderID);

    // What the file's link serves.
    [[nodiscard]] SimulatedStorage::Link& link(FileID file);

    // What the account calls the file's size, whatever it serves.
    void announceSize(FileID file, ByteCount size) { remote_.at(file).size = size; }

    // And its checksum, which it does not tell otherwise.
    void announceChecksum(FileID file, std::string crc32) { remote_.at(file).crc32 = std::move(crc32); }

    // What somebody does to the account from elsewhere. A folder goes with all that it holds.
    void rename(FileID entry, std::string name) { remote_.at(entry).name = std::move(name); }

    void move(FileID entry, FolderID folder) { remote_.at(entry).folder = folder; }

    void takeAway(FileID entry);

    static constexpr const char* owner = "ann";
    std::string account = owner;     // who is signed in; to anybody else there is nothing
    bool losesAnswer = false;        // the next deletion is carried out, but its answer does not arrive
    bool mayLose = false;            // deletions are the user's will, whatever is here
    std::set<FileID> sizeless;       // files of which the account does not say how large they are
    bool doesNotConfirm = false;     // deletions are answered, and not done
    std::map<FileID, int> refusals;  // by file or folder: so many look-ups or deletions fail with status 400
    std::set<FolderID> cutListings;  // folders of whose listings the service refuses the rest
    std::size_t pageSize = 1000;     // entries that it lists at once
    std::vector<FileID> deletions;   // that were carried out

    // Where set, asked of each request beforehand: what is answered instead.
    std::function<std::optional<Result<HTTPResponse>>(const HTTPRequest&)> interferes;

    // --- processes ---

    // Starts a process, which restores its queue.
    void start();

    // Ends it without a warning, and with it what the machine had not made durable when the power went; fails the test
    // when that takes a file from the queue that is called durable there.
    void kill();
    void losePower();

    std::set<Path> takenAway;  // of the files that arrived, by the user

    [[nodiscard]] bool isRunning() const { return manager_ != nullptr; }

    [[nodiscard]] DownloadManager& manager() { return *manager_; }

    [[nodiscard]] PutIOAPI& api() { return *api_; }

    [[nodiscard]] Platform platform();

    [[nodiscard]] DownloadPorts ports() { return downloadPorts(platform(), transfers); }

    // --- what a user does ---

    ConstDownloadPointer enqueue(FileID file, const DownloadManager::EnqueueOptions& options = {});
    void enqueueFolder(FolderID folder, bool deletes);

    void signIn() { (void)auth_.signInWithToken("secret"); }

    void signOut() { auth_.signOut(); }

    [[nodiscard]] AuthManager& auth() { return auth_; }

    // Runs until nothing is left to happen by itself.
    void settle();

    // Runs until the item has the status.
    [[nodiscard]] bool runUntil(const ConstDownloadPointer& item, Download::Status status);

    // --- what can be seen ---

    // "completed", and what went wrong after a colon.
    [[nodiscard]] static std::string outcome(const ConstDownloadPointer& item);

    // "name=content name=content", below the download folder.
    [[nodiscard]] std::string tree();

    // What receptions have left in the folder, without the notes beside it.
    [[nodiscard]] std::map<Path, std::string> partialFiles(const Path& folder = partials);

    [[nodiscard]] ConstDownloadPointer find(FileID file);
    [[nodiscard]] std::size_t transfersOf(FileID file) const;

    [[nodiscard]] const std::string& contentOf(FileID file) const { return remote_.at(file).content; }

    static inline const Path downloads = "/home/user/Downloads";
    static inline const Path data = "/data/Tovri";
    static inline const Path queueFile = data / "queue.json";
    static inline const Path staging = data / "Staging";
    static inline const Path partials = data / "Partial";

    VirtualLoop loop;
    VirtualClock clock{loop};
    VirtualBackgroundQueue background{loop};
    VirtualVolumeQueues volumes{loop};
    SeededRandom random;
    MemoryFileManager files;
    FakeFolderAccess folderAccess;
    FaultlessLog log;
    MemoryUserDefaults defaults;
    Preferences preferences{defaults, folderAccess, "/home/user"};
    ScriptedHTTPSession http{loop};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    std::map<FileID, std::set<Path>> arrived;                         // by file: where an item said that it was placed
    std::function<void(DownloadManager&, const QueueChange&)> watch;  // told of every change

private:
    struct Entry {
        std::string name;
        bool isFolder = false;
        std::string content;
        FolderID folder;
        std::optional<ByteCount> size = std::nullopt;  // unless it is the content's
        std::optional<std::string> crc32 = std::nullopt;

        [[nodiscard]] ByteCount announcedSize() const { return size.value_or(static_cast<ByteCount>(content.size())); }
    };

    [[nodiscard]] static std::string url(FileID file) { return "https://storage.put.io/" + file.text(); }

    [[nodiscard]] FileID nextID() const;
    [[nodiscard]] Result<HTTPResponse> answer(const HTTPRequest& request);
    [[nodiscard]] std::string recordText(FileID id) const;
    [[nodiscard]] std::string listing(FolderID folder, std::size_t from = 0) const;
    [[nodiscard]] bool isDurable(FileID file);
    [[nodiscard]] std::vector<FileID> entriesOf(FolderID folder) const;
    void remove(FileID entry);
    void checkDurableItems();
    [[nodiscard]] PutIOFile record(FileID file) const;

    std::map<FileID, Entry> remote_;
    std::map<FileID, Entry> gone_;
    MemoryCredentialStore credentials_;
    ScriptedWebAuthentication web_{loop};
    AuthManager auth_{credentials_, web_, loop, ServiceHosts{}};
    std::unique_ptr<PutIOAPI> api_;
    std::unique_ptr<PutIODownloadService> service_;
    std::unique_ptr<DownloadManager> manager_;
    Subscription watching_;
    Subscription signingIn_;
    std::unique_ptr<TaskScope> scope_;
};

}  // namespace tovri::test
