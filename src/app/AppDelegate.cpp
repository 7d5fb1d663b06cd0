#include "app/AppDelegate.h"

#include "automation/SyncManager.h"
#include "downloads/DownloadManager.h"

namespace tovri {

void AppDelegate::applicationWillTerminate() {
    if (downloadManager) downloadManager->saveNow();
    if (syncManager) (void)syncManager->saveNow();
}

void AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows, const std::function<void()>& showAllWindows) {
    if (!hasVisibleWindows) showAllWindows();
}

}  // namespace tovri
