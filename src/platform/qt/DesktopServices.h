#pragma once

#include <cstdint>

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
    std::uint32_t shown_ = 0;  // by the server's number; 0: none
};

}  // namespace tovri
