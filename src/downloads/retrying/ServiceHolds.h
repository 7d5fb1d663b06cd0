#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

#include "downloads/list/DownloadList.h"
#include "platform/MainLoop.h"

namespace tovri {

// Lets items go on that are held for a time, mostly because put.io, or the way to it, had failed: each when its time
// has come, those of a host that is away one after the other until one of them is answered, and then all.
class ServiceHolds {
public:
    // The references outlive this. `released` runs when items have become candidates again.
    ServiceHolds(MainLoop& loop, const WallClock& clock, DownloadList& list, std::function<void()> released);

    void hostOpened(const std::string& host);

    // Whether something waits for put.io.
    [[nodiscard]] bool isAnyHeld() const;

    [[nodiscard]] std::vector<DownloadPointer> held() const;

private:
    struct Wait {
        std::int64_t lastReleased = INT64_MIN;  // its position
        Subscription timer;
    };

    void follow(const QueueChange& change);
    void releaseNext(std::string what);

    MainLoop& loop_;
    const WallClock& clock_;
    DownloadList& list_;
    std::function<void()> released_;
    std::unordered_map<std::string, Wait> waits_;  // by what is waited for
    Subscription following_;
};

}  // namespace tovri
