#include "widgets/window/settings/TimetableLine.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QTimeEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include "widgets/parts/forms/AmountBox.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int spaceForArrows = 56;

enum Choice { limited, held };

QTime timeOf(std::chrono::minutes time) {
    return QTime::fromMSecsSinceStartOfDay(static_cast<int>(std::chrono::milliseconds(time).count()));
}

}  // namespace

TimetableLine::TimetableLine(TransferSettings& settings, std::size_t index, QWidget* parent)
    : QWidget(parent), settings_(settings), index_(index) {
    makeDays();
    makeTimes();
    makeChoice();
    auto* upper = new QHBoxLayout;
    upper->setSpacing(measures::gap);
    for (QToolButton* day : days_) upper->addWidget(day);
    upper->addStretch();
    upper->addWidget(remove_);
    auto* lower = new QHBoxLayout;
    lower->setSpacing(measures::spacing);
    lower->addWidget(from_);
    lower->addWidget(makeLabel(QStringLiteral("–")));
    lower->addWidget(to_);
    lower->addStretch();
    lower->addWidget(choice_);
    lower->addWidget(limit_);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, measures::spacing);
    column->setSpacing(measures::spacing);
    column->addLayout(upper);
    column->addLayout(lower);
}

void TimetableLine::makeDays() {
    for (std::size_t day = 0; day < days_.size(); ++day) {
        auto* button = new QToolButton;
        button->setText(textOf(dayName(day)));
        button->setCheckable(true);
        button->setFocusPolicy(Qt::StrongFocus);
        // The click of the last day changes nothing, and the button has to say so.
        connect(button, &QToolButton::clicked, this, [this, button, day](bool isOn) {
            button->setChecked(!isOn);
            settings_.setDay(index_, day, isOn);
        });
        days_.at(day) = button;
    }
    remove_ = new QToolButton;
    remove_->setIcon(symbolIcon("trash"));
    remove_->setAutoRaise(true);
    remove_->setFocusPolicy(Qt::StrongFocus);
    setPlainToolTip(*remove_, textOf(TransferSettings::removeLabel));
    // In a turn of its own: the line goes with it.
    connect(remove_, &QToolButton::clicked, this, [this] { settings_.removeTime(index_); }, Qt::QueuedConnection);
}

QTimeEdit* TimetableLine::makeTime(const char* label,
                                   void (TransferSettings::*set)(std::size_t, std::chrono::minutes)) {
    auto* time = new QTimeEdit;
    time->setDisplayFormat(QStringLiteral("HH:mm"));
    time->setKeyboardTracking(false);
    time->setWrapping(true);
    time->setAccessibleName(textOf(label));
    time->setFixedWidth(time->fontMetrics().horizontalAdvance(QStringLiteral("00:00")) + spaceForArrows);
    connect(time, &QTimeEdit::timeChanged, this, [this, set](QTime changed) {
        (settings_.*set)(index_, std::chrono::minutes(changed.hour() * 60 + changed.minute()));
    });
    return time;
}

void TimetableLine::makeTimes() {
    from_ = makeTime(TransferSettings::fromLabel, &TransferSettings::setBegin);
    to_ = makeTime(TransferSettings::toLabel, &TransferSettings::setEnd);
}

void TimetableLine::makeChoice() {
    choice_ = new QComboBox;
    choice_->insertItem(limited, textOf(TransferSettings::limitChoice));
    choice_->insertItem(held, textOf(TransferSettings::holdChoice));
    choice_->setAccessibleName(textOf(TransferSettings::whatLabel));
    connect(choice_, &QComboBox::activated, this, [this](int index) { settings_.setHolds(index_, index == held); });
    limit_ = new AmountBox(textOf(TransferSettings::rateUnit),
                           [this](std::int64_t kilobytes) { settings_.setTimeLimit(index_, kilobytes); });
}

void TimetableLine::show(const TransferSettings::Time& time) {
    setAccessibleName(textOf(time.spelling));
    for (std::size_t day = 0; day < days_.size(); ++day) days_.at(day)->setChecked(time.entry.days.test(day));
    remove_->setAccessibleName(textOf(std::string(TransferSettings::removeLabel) + " " + time.spelling));
    const QSignalBlocker quietFrom(from_);
    const QSignalBlocker quietTo(to_);
    from_->setTime(timeOf(time.entry.from));
    to_->setTime(timeOf(time.entry.to));
    choice_->setCurrentIndex(time.entry.isHold() ? held : limited);
    limit_->show(time.limit);
    limit_->setEnabled(!time.entry.isHold());
}

}  // namespace tovri
