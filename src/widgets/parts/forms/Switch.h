#pragma once

#include <QAbstractButton>

namespace tovri {

inline constexpr int switchWidth = 36;
inline constexpr int switchRing = 3;  // around the widget's switch, for the focus

// On or off at once, without a label of its own: its user gives it an accessible name.
class Switch final : public QAbstractButton {
    Q_OBJECT

public:
    explicit Switch(QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

// For delegates that draw one.
void paintSwitch(QPainter& painter, const QRect& rect, const QPalette& palette, bool isOn,
                 Qt::LayoutDirection direction);

}  // namespace tovri
