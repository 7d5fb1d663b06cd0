#include "widgets/parts/forms/StepperBox.h"

#include <QEvent>
#include <QLineEdit>
#include <algorithm>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"

namespace tovri {
namespace {

constexpr int spaceForArrows = 56;

}  // namespace

StepperBox::StepperBox(std::function<void(std::int64_t)> set, QWidget* parent)
    : QAbstractSpinBox(parent), set_(std::move(set)) {
    lineEdit()->setReadOnly(true);
    lineEdit()->setFocusPolicy(Qt::NoFocus);  // which the box takes over
    setFocusPolicy(Qt::StrongFocus);
    lineEdit()->setFont(tabularFont(font()));
    align();
    setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("60 min")) + spaceForArrows);
}

void StepperBox::show(const Stepper& stepper) {
    shown_ = stepper;
    const bool showsLabel = stepper.value.empty();
    lineEdit()->setText(textOf(showsLabel ? stepper.label : stepper.value));
    align();
    if (showsLabel) setFixedWidth(std::max(minimumWidth(), fontMetrics().horizontalAdvance(text()) + spaceForArrows));
    lineEdit()->deselect();
    setAccessibleName(textOf(stepper.label));
    update();
}

// A number stands at the arrows, a label at the other end, in whatever direction they run.
void StepperBox::align() {
    const bool isAtRight = shown_.value.empty() == isRightToLeft();
    setAlignment((isAtRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

// Nothing can be typed over what is selected.
void StepperBox::focusInEvent(QFocusEvent* event) {
    QAbstractSpinBox::focusInEvent(event);
    lineEdit()->deselect();
}

void StepperBox::changeEvent(QEvent* event) {
    QAbstractSpinBox::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange) align();
}

void StepperBox::stepBy(int steps) {
    set_(shown_.number + steps);
}

QAbstractSpinBox::StepEnabled StepperBox::stepEnabled() const {
    return (shown_.canStepUp() ? StepUpEnabled : StepNone) | (shown_.canStepDown() ? StepDownEnabled : StepNone);
}

}  // namespace tovri
