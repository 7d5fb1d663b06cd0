#pragma once

#include <cstdint>
#include <memory>

#include "platform/SleepInhibitor.h"
#include "platform/UserNotifications.h"

namespace tovri {

// Asks the login manager (org.freedesktop.login1, systemd-logind) not to let the machine sleep
// while a descriptor that it hands out is open.
class SessionSleepInhibitor final : public SleepInhibitor {
public:
    Subscription keepAwake(const std::string& reason) override;
};

// org.freedesktop.Notifications, of the Desktop Notifications Specification 1.2.
class SessionNotifications final : public UserNotifications {
public:
    void show(const std::string& title, const std::string& text) override;

private:
    // By the server's number; 0: none. Its answer may come when this is gone.
    std::shared_ptr<std::uint32_t> shown_ = std::make_shared<std::uint32_t>(0);
};

}  // namespace tovri
