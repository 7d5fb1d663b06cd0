#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Subscription.h"
#include "downloads/list/Download.h"

namespace tovri {

// What the user has cancelled or removed at one stroke, for as long as that can be taken back: the items, and what goes
// with a cancellation. In memory alone, so that the end of the process leaves it as it is saved. Touches no disk.
struct TakenOut {
    // What an item had of bytes, which it would lose for good.
    struct Bytes {
        std::optional<ByteBlob> resumeData;
        std::shared_ptr<const ByteBlob> receivedFile;
        std::optional<std::string> stagedURL;
    };

    struct Item {
        DownloadPointer item;
        DownloadStatus status = DownloadStatus::queued;  // before
        std::unique_ptr<Bytes> bytes;                    // null where there are none
    };

    enum class How { cancelled, removed };

    How how = How::cancelled;
    std::vector<Item> items;
    Subscription end;  // of the time in which it can be taken back
};

}  // namespace tovri
