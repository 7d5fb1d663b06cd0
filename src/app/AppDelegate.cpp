#include "app/AppDelegate.h"

#include "automation/SyncManager.h"
#include "downloads/DownloadManager.h"

namespace tovri {

Result<void> AppDelegate::applicationWillTerminate() {
    // The rules first: a settled item may leave the queue file only once its rule knows the file on the disk, or a
    // process that dies in between would fetch it again.
    Result<void> rules = syncManager ? syncManager->saveNow() : Result<void>();
    if (!downloadManager || downloadManager->saveNow()) return rules;
    return failure(Error(ErrorCase::file, downloadManager->saveFailure().value_or("The queue cannot be saved.")));
}

void AppDelegate::applicationShouldHandleReopen(bool hasVisibleWindows, const std::function<void()>& showAllWindows) {
    if (!hasVisibleWindows) showAllWindows();
}

}  // namespace tovri
