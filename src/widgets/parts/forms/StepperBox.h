#pragma once

#include <QAbstractSpinBox>
#include <functional>

#include "screens/Stepper.h"

namespace tovri {

// A number with its two arrows; also by the arrow keys and the wheel. The text is the screen's, and cannot be typed:
// the number as the screen words it, or the whole label where the screen has no words for the number alone.
class StepperBox final : public QAbstractSpinBox {
    Q_OBJECT

public:
    // `set` receives the wanted number.
    explicit StepperBox(std::function<void(std::int64_t)> set, QWidget* parent = nullptr);

    void show(const Stepper& stepper);
    using QAbstractSpinBox::show;

    void stepBy(int steps) override;

protected:
    [[nodiscard]] StepEnabled stepEnabled() const override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void align();

    std::function<void(std::int64_t)> set_;
    Stepper shown_;
};

}  // namespace tovri
