#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "base/Subscription.h"
#include "downloads/DownloadManager.h"
#include "platform/MainLoop.h"
#include "platform/SleepInhibitor.h"
#include "platform/UserNotifications.h"
#include "screens/files/FileBrowserState.h"
#include "settings/DesktopPreferences.h"

namespace tovri {

// What the desktop notices while nobody looks: the machine stays awake while bytes move, down or up, and one
// notification says that the queue has drained, another that something has failed on the way. Both as the user's
// preferences have it.
class DesktopPresence {
public:
    struct Ports {
        MainLoop& loop;
        SleepInhibitor& inhibitor;
        UserNotifications& notifications;
        std::function<bool()> isWindowInFront;  // then the user sees for themselves
    };

    // All outlive the presence.
    DesktopPresence(Ports ports, DownloadManager& downloads, FileBrowserState& uploads,
                    DesktopPreferences& preferences);

private:
    void follow(const QueueChange& change);
    void lookSoon();
    void look();
    void tellFailure();
    void tellEnd();
    void notify(const std::string& title, const std::string& text);

    Ports ports_;
    const DownloadList& list_;
    const FileBrowserState& uploads_;
    DesktopPreferences& preferences_;

    // Since the queue last had nothing to do.
    bool hasWork_ = false;
    std::size_t arrived_ = 0;
    std::size_t doubtful_ = 0;  // of these
    std::size_t failed_ = 0;
    bool hasToldFailure_ = false;
    std::string failure_;  // the first since the last look

    Subscription awake_;
    Subscription looking_;
    Subscription followingQueue_;
    Subscription followingUploads_;
    Subscription followingPreferences_;
};

}  // namespace tovri
