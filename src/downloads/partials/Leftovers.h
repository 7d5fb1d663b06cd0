#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "downloads/list/DownloadList.h"
#include "downloads/partials/PartialNote.h"
#include "downloads/running/receiving/ReceivingFolders.h"

namespace tovri {

// A partial file that nothing works on and that no item's token goes on from.
struct Leftover {
    std::optional<std::filesystem::path> folder;  // as in ReceivingFolders::find
    PartialNote note;                             // of each part, `written` is what counts
};

// What transfers have left of files: a list by put.io file, read once at the start from the notes beside the partial
// files, and kept from then on. A transfer of the same file takes its bytes from here and goes on from them; what no
// item of the queue may ask for again is removed.
class Leftovers {
public:
    using Path = std::filesystem::path;
    using Names = std::set<std::string>;

    // What was found beside a partial file; kept: that file is some item's already.
    struct Found {
        PartialNote note;
        bool isKept = false;
    };

    // What it works with; outlives it.
    struct Ports {
        MainLoop& loop;
        FileManager& files;
        DownloadList& list;
        ReceivingFolders& receiving;
    };

    explicit Leftovers(Ports ports) : ports_(ports) {}

    // Looks through the folders that receive, each on its volume's thread. What is named here stays; of the rest,
    // what an item of the queue can go on from does. `bootID` is that of this start of the machine.
    void look(Names kept, std::string bootID);

    // Returns when what stands in the folder is known. ErrorCase::cancelled after a stop request, and nothing else.
    Task<Result<void>> known(Path folder, std::stop_token stop);

    // Whether that is about to be known of all folders: a volume that does not answer is not waited for. Told each time
    // when it is of one, and when there is nothing more to wait for.
    [[nodiscard]] bool isLooking() const { return !unknown_.empty() && patience_.isActive(); }

    Subscription onKnown(std::function<void()> tell) { return known_.subscribe(std::move(tell)); }

    // The item's transfer has left it. It goes at once when nobody may ask for it.
    void put(Leftover leftover, Download& item);

    // What a transfer of the item's file can go on from; the longest, if there are several. It is none any more.
    [[nodiscard]] std::optional<Leftover> take(const Download& item);

    // What is left of these files stays for the time being, whether anybody may ask for it or not.
    void spare(FileID fileID) { spared_.insert(fileID); }

    void spareNone() { spared_.clear(); }

    // An item has come to an end, or has gone: what was kept for it goes, unless another may ask for it.
    void dropUnwanted(FileID fileID);

private:
    void add(Leftover leftover);
    void looked(const Path& folder, std::vector<Found> found);
    [[nodiscard]] bool isWanted(const NotedFile& file) const;
    void remove(const Leftover& leftover);
    void tellItems(const NotedFile& file, ByteCount onDisk);

    Ports ports_;
    std::unordered_multimap<FileID, Leftover> byFile_;
    std::unordered_set<FileID> spared_;
    std::set<Path> unknown_;  // folders that are being looked through
    Signal<> known_;
    Subscription patience_;
    std::shared_ptr<Leftovers*> self_ = std::make_shared<Leftovers*>(this);  // of the looks under way
    TaskScope scope_;
};

}  // namespace tovri
