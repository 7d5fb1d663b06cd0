#include "settings/DesktopPreferences.h"

namespace tovri {
namespace {

constexpr std::string_view keepsAwakeKey = "keepAwakeWhileTransferring";
constexpr std::string_view notifiesKey = "notifyWhenFinished";

}  // namespace

DesktopPreferences::DesktopPreferences(UserDefaults& defaults)
    : defaults_(defaults),
      keepsAwake_(defaults.boolean(keepsAwakeKey).value_or(true)),
      notifies_(defaults.boolean(notifiesKey).value_or(true)) {}

void DesktopPreferences::setKeepsAwake(bool keeps) {
    assign(keepsAwake_, keepsAwakeKey, keeps);
}

void DesktopPreferences::setNotifies(bool notifies) {
    assign(notifies_, notifiesKey, notifies);
}

void DesktopPreferences::assign(bool& member, std::string_view key, bool value) {
    const bool differs = std::exchange(member, value) != value;
    defaults_.setBoolean(key, value);
    if (differs) changes_.tell();
}

}  // namespace tovri
