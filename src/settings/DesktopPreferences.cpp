#include "settings/DesktopPreferences.h"

namespace tovri {
namespace {

constexpr std::string_view keepsAwakeKey = "keepAwakeWhileTransferring";
constexpr std::string_view notifiesKey = "notifyWhenFinished";
constexpr std::string_view closedWindowKey = "whenWindowCloses";
constexpr std::string_view showsBatchesKey = "downloadsInBatches";
constexpr std::string_view finishedOrderKey = "finishedOrder";
constexpr std::string_view runsOn = "runOn";
constexpr std::string_view quits = "quit";

std::optional<ClosedWindow> closedWindowOf(const std::optional<std::string>& stored) {
    if (stored == runsOn) return ClosedWindow::runsOn;
    if (stored == quits) return ClosedWindow::quits;
    return std::nullopt;
}

}  // namespace

DesktopPreferences::DesktopPreferences(UserDefaults& defaults)
    : defaults_(defaults),
      keepsAwake_(defaults.boolean(keepsAwakeKey).value_or(true)),
      notifies_(defaults.boolean(notifiesKey).value_or(true)),
      closedWindow_(closedWindowOf(defaults.string(closedWindowKey))),
      showsBatches_(defaults.boolean(showsBatchesKey).value_or(false)),
      finishedOrder_(
          tovri::finishedOrder(defaults.string(finishedOrderKey).value_or("")).value_or(FinishedOrder::queue)) {}

void DesktopPreferences::setKeepsAwake(bool keeps) {
    assign(keepsAwake_, keepsAwakeKey, keeps);
}

void DesktopPreferences::setNotifies(bool notifies) {
    assign(notifies_, notifiesKey, notifies);
}

void DesktopPreferences::setClosedWindow(ClosedWindow what) {
    const bool differs = std::exchange(closedWindow_, what) != what;
    defaults_.setString(closedWindowKey, what == ClosedWindow::runsOn ? runsOn : quits);
    if (differs) changes_.tell();
}

void DesktopPreferences::setShowsBatches(bool shows) {
    assign(showsBatches_, showsBatchesKey, shows);
}

void DesktopPreferences::setFinishedOrder(FinishedOrder order) {
    const bool differs = std::exchange(finishedOrder_, order) != order;
    defaults_.setString(finishedOrderKey, rawValue(order));
    if (differs) changes_.tell();
}

void DesktopPreferences::assign(bool& member, std::string_view key, bool value) {
    const bool differs = std::exchange(member, value) != value;
    defaults_.setBoolean(key, value);
    if (differs) changes_.tell();
}

}  // namespace tovri
