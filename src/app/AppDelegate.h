#pragma once

#include <functional>

#include "base/Result.h"

namespace tovri {

class AuthManager;
class DownloadManager;
class SyncManager;

// What the application does when the system, or the user, ends it, closes its windows or calls it again. Knows the
// objects that the application's setup gives it; before that it does nothing.
class AppDelegate {
public:
    AuthManager* authManager = nullptr;
    DownloadManager* downloadManager = nullptr;
    SyncManager* syncManager = nullptr;

    // The queue is written when it returns, and what is on its way of the rules; or it says what could not be.
    Result<void> applicationWillTerminate();

    // Downloads go on without a window.
    [[nodiscard]] static bool applicationShouldTerminateAfterLastWindowClosed() { return false; }

    // The user started the program once more: with no window to be seen, `showAllWindows` brings every one to the
    // front.
    static void applicationShouldHandleReopen(bool hasVisibleWindows, const std::function<void()>& showAllWindows);
};

}  // namespace tovri
