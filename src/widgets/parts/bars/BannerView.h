#pragma once

#include <QWidget>

#include "screens/Label.h"

class QLabel;
class QToolButton;

namespace tovri {

// A strip under the toolbar: a symbol, what happened, and a button at its end.
class BannerView final : public QWidget {
    Q_OBJECT

public:
    explicit BannerView(const QString& buttonTitle, QWidget* parent = nullptr);

    void show(const Label& label);
    using QWidget::show;

signals:
    void buttonPressed();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void dress();

    Label shown_;
    QLabel* symbol_;
    QLabel* text_;
    QToolButton* button_;
};

}  // namespace tovri
