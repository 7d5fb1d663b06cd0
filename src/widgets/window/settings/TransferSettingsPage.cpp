#include "widgets/window/settings/TransferSettingsPage.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/forms/AmountBox.h"
#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Measures.h"
#include "widgets/window/settings/SettingsForm.h"
#include "widgets/window/settings/TimetableLine.h"

namespace tovri {

TransferSettingsPage::TransferSettingsPage(TransferSettings& settings, QWidget* parent)
    : QScrollArea(parent), settings_(settings) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    auto* form = new SettingsForm;
    makeSpeed(*form);
    makeTimetable(*form);
    makeDisks(*form);
    setWidget(form);
    viewport()->setAutoFillBackground(false);
    form->setAutoFillBackground(false);
}

void TransferSettingsPage::makeSpeed(SettingsForm& form) {
    form.addSection(textOf(TransferSettings::speedSection));
    limits_ = new Switch;
    form.addRow(textOf(TransferSettings::limitsLabel), limits_);
    connect(limits_, &Switch::toggled, this, [this](bool limits) { settings_.setLimits(limits); });
    limit_ = new AmountBox(textOf(TransferSettings::rateUnit),
                           [this](std::int64_t kilobytes) { settings_.setLimit(kilobytes); });
    limit_->setSpecialValueText(textOf(TransferSettings::noLimitText));
    form.addRow(textOf(settings_.limit().label), limit_);
    form.addNote()->setText(textOf(TransferSettings::limitsNote));
}

void TransferSettingsPage::makeTimetable(SettingsForm& form) {
    form.addSection(textOf(TransferSettings::timetableSection));
    auto* times = new QWidget;
    times_ = new QVBoxLayout(times);
    times_->setContentsMargins(0, 0, 0, 0);
    times_->setSpacing(measures::spacing);
    form.addLine(times, {});
    form.addNote()->setText(textOf(TransferSettings::timetableNote));
    auto* add = new QPushButton(titleOf(TransferSettings::addLabel));
    add->setAutoDefault(true);
    connect(add, &QPushButton::clicked, this, [this] { settings_.addTime(); });
    form.addLine(add, Qt::AlignLeading);
}

void TransferSettingsPage::makeDisks(SettingsForm& form) {
    form.addSection(textOf(TransferSettings::disksSection));
    reserve_ = new AmountBox(textOf(TransferSettings::reserveUnit),
                             [this](std::int64_t mebibytes) { settings_.setReserve(mebibytes); });
    form.addRow(textOf(settings_.reserve().label), reserve_);
    form.addNote()->setText(textOf(TransferSettings::reserveNote));
}

void TransferSettingsPage::update() {
    limits_->setChecked(settings_.limits());
    limit_->show(settings_.limit());
    showTimes(settings_.times());
    reserve_->show(settings_.reserve());
}

// The lines stay as long as their number is needed, and with them the focus.
void TransferSettingsPage::showTimes(const std::vector<TransferSettings::Time>& times) {
    while (lines_.size() > times.size()) {
        delete lines_.back();
        lines_.pop_back();
    }
    while (lines_.size() < times.size()) {
        lines_.push_back(new TimetableLine(settings_, lines_.size()));
        times_->addWidget(lines_.back());
    }
    for (std::size_t i = 0; i < times.size(); ++i) lines_[i]->show(times[i]);
    times_->parentWidget()->setVisible(!times.empty());
}

QSize TransferSettingsPage::sizeHint() const {
    return widget()->sizeHint();
}

}  // namespace tovri
