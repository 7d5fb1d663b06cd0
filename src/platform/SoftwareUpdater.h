#pragma once

#include <functional>

#include "base/Subscription.h"

namespace tovri {

// Looks for newer versions of the program. It begins with the object and keeps a schedule of its own; dialogs are its
// own too.
class SoftwareUpdater {
public:
    virtual ~SoftwareUpdater() = default;

    // Whether a check may be started now.
    [[nodiscard]] virtual bool canCheckForUpdates() const = 0;

    // Starts a check that the user asked for.
    virtual void checkForUpdates() = 0;

    // Told after `canCheckForUpdates` changed.
    virtual Subscription onChange(std::function<void()> tell) = 0;
};

}  // namespace tovri
