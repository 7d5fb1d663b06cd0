#pragma once

#include <QSpinBox>
#include <functional>

#include "screens/Stepper.h"

namespace tovri {

// A whole number of a unit, which can be typed, or goes up and down in steps that grow with it.
class AmountBox final : public QSpinBox {
    Q_OBJECT

public:
    // `unit` stands behind the number; `set` receives the wanted one once it is typed to its end.
    AmountBox(const QString& unit, std::function<void(std::int64_t)> set, QWidget* parent = nullptr);

    void show(const Stepper& stepper);
    using QSpinBox::show;

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();
};

}  // namespace tovri
