#pragma once

#include "platform/SoftwareUpdater.h"

namespace tovri {

// Where the system's package manager brings new versions, the program itself can start no check.
class PackageManagerUpdater final : public SoftwareUpdater {
public:
    [[nodiscard]] bool canCheckForUpdates() const override { return false; }

    void checkForUpdates() override {}

    Subscription onChange(std::function<void()> /*tell*/) override { return {}; }
};

}  // namespace tovri
