#pragma once

#include <QWidget>
#include <vector>

#include "screens/Label.h"

class QLabel;

namespace tovri {

class Switch;

// A line of symbols with short texts above a list, and at its other end a switch where there is one.
class SummaryLine final : public QWidget {
    Q_OBJECT

public:
    explicit SummaryLine(QWidget* parent = nullptr);

    void show(std::vector<Label> labels);
    using QWidget::show;

    void showSwitch(const QString& text, bool isOn, const QString& help);

    [[nodiscard]] QSize sizeHint() const override;

signals:
    void switched(bool isOn);

protected:
    void changeEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void makeSwitch();
    void dress();
    [[nodiscard]] int spaceForLabels() const;

    std::vector<Label> labels_;
    QLabel* switchText_ = nullptr;  // with its switch made when it is first shown
    Switch* switch_ = nullptr;
};

}  // namespace tovri
