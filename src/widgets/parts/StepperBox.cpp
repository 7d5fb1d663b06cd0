#include "widgets/parts/StepperBox.h"

#include <QLineEdit>
#include <algorithm>

#include "widgets/parts/Texts.h"
#include "widgets/theme/Fonts.h"

namespace tovri {
namespace {

constexpr int spaceForArrows = 56;

}  // namespace

StepperBox::StepperBox(std::function<void(std::int64_t)> set, QWidget* parent)
    : QAbstractSpinBox(parent), set_(std::move(set)) {
    lineEdit()->setReadOnly(true);
    lineEdit()->setFocusPolicy(Qt::NoFocus);
    lineEdit()->setFont(tabularFont(font()));
    setAlignment(Qt::AlignTrailing);
    setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("60 min")) + spaceForArrows);
}

void StepperBox::show(const Stepper& stepper) {
    shown_ = stepper;
    const bool showsLabel = stepper.value.empty();
    lineEdit()->setText(textOf(showsLabel ? stepper.label : stepper.value));
    if (showsLabel) {
        setAlignment(Qt::AlignLeading);
        setFixedWidth(std::max(minimumWidth(), fontMetrics().horizontalAdvance(text()) + spaceForArrows));
    }
    lineEdit()->deselect();
    setAccessibleName(textOf(stepper.label));
    update();
}

void StepperBox::stepBy(int steps) {
    set_(shown_.number + steps);
}

QAbstractSpinBox::StepEnabled StepperBox::stepEnabled() const {
    return (shown_.canStepUp() ? StepUpEnabled : StepNone) | (shown_.canStepDown() ? StepDownEnabled : StepNone);
}

}  // namespace tovri
