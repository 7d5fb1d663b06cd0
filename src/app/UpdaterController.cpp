#include "app/UpdaterController.h"

namespace tovri {

UpdaterController::UpdaterController(SoftwareUpdater& updater) : controller_(updater) {
    observation_ = controller_.onChange([this] { follow(); });
    follow();
}

void UpdaterController::follow() {
    if (std::exchange(canCheckForUpdates_, controller_.canCheckForUpdates()) == controller_.canCheckForUpdates())
        return;
    changes_.tell();
}

}  // namespace tovri
