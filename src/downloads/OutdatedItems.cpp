#include "downloads/OutdatedItems.h"

#include "downloads/DownloadManager.h"

namespace tovri {

void removeOutdatedItems(DownloadManager& downloads, Timestamp now) {
    for (const ConstDownloadPointer& item : downloads.finishedDownloads())
        if (isOutdated(*item, now)) downloads.remove(item);
}

}  // namespace tovri
