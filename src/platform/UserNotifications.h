#pragma once

#include <string>

namespace tovri {

// Tells the user something while they look elsewhere, in the desktop's own way.
class UserNotifications {
public:
    virtual ~UserNotifications() = default;

    // One that was shown before makes way.
    virtual void show(const std::string& title, const std::string& text) = 0;
};

}  // namespace tovri
