#pragma once

#include <QWidget>

#include "screens/Placeholder.h"

class QLabel;
class QPushButton;

namespace tovri {

class TurningSign;

// A large symbol or a turning sign, a title, a sentence and the one button that helps, in the middle of a screen.
class PlaceholderView final : public QWidget {
    Q_OBJECT

public:
    explicit PlaceholderView(QWidget* parent = nullptr);

    void show(const Placeholder& placeholder);
    using QWidget::show;

signals:
    void buttonPressed();

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();

    Placeholder shown_;
    QLabel* symbol_;
    TurningSign* turning_;
    QLabel* title_;
    QLabel* text_;
    QPushButton* button_;
};

}  // namespace tovri
