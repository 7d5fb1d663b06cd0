#pragma once

#include <QWidget>
#include <array>

#include "screens/settings/TransferSettings.h"

class QComboBox;
class QTimeEdit;
class QToolButton;

namespace tovri {

class AmountBox;

// One entry of the timetable, each part of which can be changed: its days, its times, and what counts then.
class TimetableLine final : public QWidget {
    Q_OBJECT

public:
    // `settings` outlives the line, which shows and changes the entry with that number.
    TimetableLine(TransferSettings& settings, std::size_t index, QWidget* parent = nullptr);

    void show(const TransferSettings::Time& time);
    using QWidget::show;

private:
    void makeDays();
    void makeTimes();
    void makeChoice();
    QTimeEdit* makeTime(const char* label, void (TransferSettings::*set)(std::size_t, std::chrono::minutes));

    TransferSettings& settings_;
    std::size_t index_;
    std::array<QToolButton*, 7> days_{};
    QToolButton* remove_ = nullptr;
    QTimeEdit* from_ = nullptr;
    QTimeEdit* to_ = nullptr;
    QComboBox* choice_ = nullptr;
    AmountBox* limit_ = nullptr;
};

}  // namespace tovri
