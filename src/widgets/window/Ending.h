#pragma once

#include <functional>

#include "app/TovriApp.h"

namespace tovri {

// Brings the application to rest when it is to end: transfers hand over their resume tokens, then the queue and the
// rules are written. What hangs is waited for no longer than DownloadManager::suspend says.
class Ending {
public:
    // `app` outlives the ending.
    explicit Ending(TovriApp& app) : app_(app) {}

    // Told once everything is written, or what could not be.
    using Done = std::function<void(const Result<void>& saved)>;

    // Only the first call does anything.
    void begin(Done done);

    [[nodiscard]] bool hasBegun() const { return hasBegun_; }

private:
    TovriApp& app_;
    bool hasBegun_ = false;
};

}  // namespace tovri
