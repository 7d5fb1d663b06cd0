#pragma once

#include <QScrollArea>
#include <vector>

#include "screens/settings/TransferSettings.h"

class QVBoxLayout;

namespace tovri {

class AmountBox;
class SettingsForm;
class Switch;
class TimetableLine;

// The tab of what concerns all transfers. Scrolls, as its timetable may be long.
class TransferSettingsPage final : public QScrollArea {
    Q_OBJECT

public:
    // `settings` outlives the page.
    explicit TransferSettingsPage(TransferSettings& settings, QWidget* parent = nullptr);

    // Shows what is stored now.
    void update();

    [[nodiscard]] QSize sizeHint() const override;

private:
    void makeSpeed(SettingsForm& form);
    void makeTimetable(SettingsForm& form);
    void makeDisks(SettingsForm& form);
    void showTimes(const std::vector<TransferSettings::Time>& times);

    TransferSettings& settings_;
    Switch* limits_ = nullptr;
    AmountBox* limit_ = nullptr;
    QVBoxLayout* times_ = nullptr;
    std::vector<TimetableLine*> lines_;
    AmountBox* reserve_ = nullptr;
};

}  // namespace tovri
