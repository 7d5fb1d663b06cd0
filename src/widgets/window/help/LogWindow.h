#pragma once

#include <QWidget>

#include "screens/KeptLog.h"

class QLineEdit;
class QPlainTextEdit;

namespace tovri {

// The diagnostic lines of this process, as they come: those that contain what is typed, to be read and copied.
class LogWindow final : public QWidget {
    Q_OBJECT

public:
    // `log` outlives the window.
    explicit LogWindow(KeptLog& log, QWidget* parent = nullptr);

private:
    void showLines();
    void add(const std::string& line);

    KeptLog& log_;
    QLineEdit* filter_;
    QPlainTextEdit* text_;
    Subscription following_;
};

}  // namespace tovri
