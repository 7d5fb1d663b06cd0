#pragma once

#include <functional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/holding/DestinationCheck.h"
#include "downloads/list/DownloadList.h"
#include "downloads/running/VolumeLanes.h"

namespace tovri {

// Lets held items go on when that for which they wait has come. Looks at it every few seconds while anything is held,
// and when told to: once for all items that wait for the same.
class HeldItems {
public:
    // The references outlive this. `released` runs when items have become candidates again.
    HeldItems(MainLoop& loop, DownloadList& list, DestinationCheck& destinations, VolumeLanes& lanes,
              std::function<void()> released);

    void look();

    // More is known of what stands on the disk already of held items: those that wait for more room than they need are
    // candidates again.
    void bytesAreKnown();

    // Something that was told to be looked at has not been yet.
    [[nodiscard]] bool isLooking() const { return !looking_.empty(); }

    // Writes to the item's folder although another volume is expected there; the others that wait for that go too.
    void useFolderAnyway(const ConstDownloadPointer& item);

private:
    void follow(const QueueChange& change);
    Task<> lookAt(std::string what);
    Task<> acceptFolderOf(ConstDownloadPointer item);
    void release(const std::string& what, const DestinationFacts& facts);
    [[nodiscard]] ByteCount promisedRoom(const std::string& what);

    MainLoop& loop_;
    DownloadList& list_;
    DestinationCheck& destinations_;
    VolumeLanes& lanes_;
    std::function<void()> released_;
    std::unordered_set<std::string> looking_;
    std::unordered_set<std::string> again_;  // of these, what was told to be looked at meanwhile
    std::unordered_map<std::string, std::vector<DownloadPointer>> promised_;  // that it waited for, and has not claimed
    Subscription timer_;
    Subscription following_;
    TaskScope scope_;
};

}  // namespace tovri
