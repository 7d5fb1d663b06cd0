#pragma once

#include <QPointer>

#include "widgets/rows/QuickPresses.h"

namespace tovri {

// Keeps the second press of a double click from a button that has come under the pointer since the first one: that of
// the next question, or the one in the place of a button that has gone. For all windows while it lives.
class StrayPresses final : public QObject {
    Q_OBJECT

public:
    StrayPresses();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QuickPresses<QPointer<QObject>> presses_;
};

}  // namespace tovri
