#include "widgets/parts/forms/AmountBox.h"

#include <QEvent>
#include <QLineEdit>
#include <QSignalBlocker>
#include <algorithm>
#include <limits>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"

namespace tovri {
namespace {

constexpr int spaceForArrows = 56;

int asInt(std::int64_t number) {
    constexpr std::int64_t most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<std::int64_t>(number, 0, most));
}

}  // namespace

AmountBox::AmountBox(const QString& unit, std::function<void(std::int64_t)> set, QWidget* parent) : QSpinBox(parent) {
    setSuffix(unit);
    setStepType(AdaptiveDecimalStepType);
    setKeyboardTracking(false);
    setGroupSeparatorShown(true);
    setFocusPolicy(Qt::StrongFocus);
    dress();
    connect(this, &QSpinBox::valueChanged, this, [set = std::move(set)](int number) { set(number); });
}

// What lies beyond the bounds is shown as it is.
void AmountBox::show(const Stepper& stepper) {
    const QSignalBlocker blocker(this);
    setRange(asInt(std::min(stepper.bounds.least, stepper.number)),
             asInt(std::max(stepper.bounds.most, stepper.number)));
    setValue(asInt(stepper.number));
    setAccessibleName(textOf(stepper.label));
}

void AmountBox::dress() {
    const QFont wanted = tabularFont(font());
    if (lineEdit()->font() != wanted) lineEdit()->setFont(wanted);
    setFixedWidth(fontMetrics().horizontalAdvance(QStringLiteral("100,000") + suffix()) + spaceForArrows);
}

void AmountBox::changeEvent(QEvent* event) {
    QSpinBox::changeEvent(event);
    if (event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
