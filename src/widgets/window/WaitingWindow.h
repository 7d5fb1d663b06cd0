#pragma once

#include <QWidget>

namespace tovri {

// Stands where the main window is going to be, until it is known who is signed in.
class WaitingWindow final : public QWidget {
    Q_OBJECT

public:
    WaitingWindow();

signals:
    void goOnWanted();
    void closingWanted();

protected:
    void closeEvent(QCloseEvent* event) override;
};

}  // namespace tovri
