#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "base/Signal.h"
#include "platform/UserDefaults.h"
#include "settings/FinishedOrder.h"

namespace tovri {

// What becomes of the program when its window is closed and nothing else shows that it runs.
enum class ClosedWindow { runsOn, quits };

// What the desktop application does around the downloads; the terminal program has none of it. Read once, at
// construction; every assignment is written through at once. The switches are on until the user turns them off, where
// nothing else is said.
class DesktopPreferences {
public:
    // `defaults` outlives the preferences.
    explicit DesktopPreferences(UserDefaults& defaults);

    // Whether the machine is kept from falling asleep while bytes move.
    [[nodiscard]] bool keepsAwake() const { return keepsAwake_; }

    // Whether the user is told, once, that the queue has drained or that something failed.
    [[nodiscard]] bool notifies() const { return notifies_; }

    // None until the user was asked.
    [[nodiscard]] std::optional<ClosedWindow> closedWindow() const { return closedWindow_; }

    // Whether downloads that were queued together share a row; off until the user wants it.
    [[nodiscard]] bool showsBatches() const { return showsBatches_; }

    [[nodiscard]] FinishedOrder finishedOrder() const { return finishedOrder_; }

    void setKeepsAwake(bool keeps);
    void setNotifies(bool notifies);
    void setClosedWindow(ClosedWindow what);
    void setShowsBatches(bool shows);
    void setFinishedOrder(FinishedOrder order);

    // Told after the value was stored, only when it differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void assign(bool& member, std::string_view key, bool value);

    UserDefaults& defaults_;
    bool keepsAwake_ = true;
    bool notifies_ = true;
    std::optional<ClosedWindow> closedWindow_;
    bool showsBatches_ = false;
    FinishedOrder finishedOrder_ = FinishedOrder::queue;
    Signal<> changes_;
};

}  // namespace tovri
