#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "screens/DestructiveAction.h"
#include "screens/FailureAlert.h"

namespace tovri {

// The two dialogs that any screen may raise: the confirmation of a destructive step, and the alert of what failed.
// Owned by its screen, in whose scope a confirmed step runs.
class ActionDialogs {
public:
    // `scope` outlives the dialogs' use, not the dialogs: it is the screen's last member.
    explicit ActionDialogs(TaskScope& scope) : scope_(scope) {}

    [[nodiscard]] const std::optional<DestructiveAction>& pendingAction() const { return pendingAction_; }

    [[nodiscard]] const std::optional<FailureAlert>& failure() const { return failure_; }

    void ask(DestructiveAction action);

    // Starts the pending action, which is not pending any more; if it fails, that is shown.
    void confirm();

    void cancel();

    // One alert for all that fails until it is dismissed.
    void showFailure(std::string message);

    // Shows why something failed, unless it was called off.
    void showFailure(const Error& error);

    void dismissFailure();

    // Takes both away, as when the screen goes out of view.
    void clear();

    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    Task<> run(DestructiveAction action);

    TaskScope& scope_;
    std::optional<DestructiveAction> pendingAction_;
    std::optional<FailureAlert> failure_;
    Signal<> changes_;
};

}  // namespace tovri
