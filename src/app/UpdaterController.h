#pragma once

#include <functional>

#include "base/Signal.h"
#include "platform/SoftwareUpdater.h"

namespace tovri {

// What the "Check for Updates…" command shows and does. Owned by the application object.
class UpdaterController {
public:
    // `updater` outlives the controller.
    explicit UpdaterController(SoftwareUpdater& updater);

    [[nodiscard]] bool canCheckForUpdates() const { return canCheckForUpdates_; }

    void checkForUpdates() { controller_.checkForUpdates(); }

    // Told when `canCheckForUpdates` differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void follow();

    bool canCheckForUpdates_ = false;
    SoftwareUpdater& controller_;
    Signal<> changes_;
    Subscription observation_;
};

}  // namespace tovri
