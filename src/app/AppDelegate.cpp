#include "app/AppDelegate.h"

#include "automation/SyncManager.h"
#include "downloads/DownloadManager.h"

namespace tovri {

void AppDelegate::applicationWillTerminate() {
    // The rules first: a settled item may leave the queue file only once its rule knows the file on the disk, or a
    // process that dies in between would fetch it again.
    if (syncManager) (void)syncManager->saveNow();
    if (downloadManager) downloadManager->saveNow();
}

void AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows, const std::function<void()>& showAllWindows) {
    if (!hasVisibleWindows) showAllWindows();
}

}  // namespace tovri
