#include "widgets/parts/sheets/DialogPresenter.h"

#include <QEvent>
#include <QWidget>
#include <utility>

#include "screens/ActionDialogs.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {

DialogPresenter::DialogPresenter(ActionDialogs& dialogs, QWidget& view)
    : QObject(&view), dialogs_(dialogs), view_(view), following_(dialogs.onChange([this] { follow(); })) {
    view.installEventFilter(this);
    follow();
}

DialogPresenter::~DialogPresenter() {
    dismiss(confirmation_);
    dismiss(alert_);
}

bool DialogPresenter::eventFilter(QObject* watched, QEvent* event) {
    const bool isShown = event->type() == QEvent::Show;
    if ((isShown || event->type() == QEvent::Hide) && !event->spontaneous()) present(isShown);
    return QObject::eventFilter(watched, event);
}

void DialogPresenter::follow() {
    present(view_.isVisible());
}

void DialogPresenter::present(bool isOnView) {
    const auto& action = dialogs_.pendingAction();
    const auto& failure = dialogs_.failure();
    if (!isOnView || !action || action->id != confirmed_) dismiss(confirmation_);
    if (!isOnView || !failure) dismiss(alert_);
    if (!isOnView) return;
    if (action && confirmation_ == nullptr) presentConfirmation();
    if (!failure) return;
    if (alert_ == nullptr)
        presentAlert();
    else if (failure->message != std::exchange(alertMessage_, failure->message))
        alert_->setSentence(textOf(alertMessage_));
}

void DialogPresenter::presentConfirmation() {
    const DestructiveAction& action = *dialogs_.pendingAction();
    confirmed_ = action.id;
    confirmation_ = makeConfirmation(view_.window(), textOf(action.title), textOf(action.message),
                                     textOf(action.confirmLabel), textOf(DestructiveAction::cancelLabel));
    connect(confirmation_, &Sheet::confirmed, this, [this] { dialogs_.confirm(); });
    connect(confirmation_, &Sheet::cancelled, this, [this] { dialogs_.cancel(); });
    confirmation_->open();
}

void DialogPresenter::presentAlert() {
    alertMessage_ = dialogs_.failure()->message;
    alert_ = makeAlert(view_.window(), textOf(FailureAlert::title), textOf(alertMessage_),
                       textOf(FailureAlert::dismissLabel));
    connect(alert_, &Sheet::cancelled, this, [this] { dialogs_.dismissFailure(); });
    alert_->open();
}

}  // namespace tovri
