#include "screens/ActionDialogs.h"

namespace tovri {

void ActionDialogs::ask(DestructiveAction action) {
    pendingAction_ = std::move(action);
    changes_.tell();
}

void ActionDialogs::confirm() {
    if (!pendingAction_) return;
    DestructiveAction action = std::move(*pendingAction_);
    pendingAction_.reset();
    changes_.tell();
    scope_.start(run(std::move(action)));
}

Task<> ActionDialogs::run(DestructiveAction action) {
    const Result<void> done = co_await action.run();
    if (!done) showFailure(done.error());
}

void ActionDialogs::cancel() {
    if (!pendingAction_) return;
    pendingAction_.reset();
    changes_.tell();
}

void ActionDialogs::showFailure(std::string message) {
    if (failure_ && failure_->message.contains(message)) return;
    if (failure_) message = failure_->message + "\n" + message;
    failure_ = FailureAlert{std::move(message)};
    changes_.tell();
}

void ActionDialogs::showFailure(const Error& error) {
    if (!error.isCancellation()) showFailure(error.description);
}

void ActionDialogs::dismissFailure() {
    if (!failure_) return;
    failure_.reset();
    changes_.tell();
}

void ActionDialogs::clear() {
    cancel();
    dismissFailure();
}

}  // namespace tovri
