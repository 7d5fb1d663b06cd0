#pragma once

#include <QWidget>

#include "screens/window/ContentScreen.h"

class QLabel;
class QProgressBar;

namespace tovri {

// How far the uploads have come; hidden while there are none.
class UploadStatus final : public QWidget {
    Q_OBJECT

public:
    explicit UploadStatus(QWidget* parent = nullptr);

    void show(const std::optional<UploadPanel>& panel);

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();

    QLabel* symbol_;
    QLabel* text_;
    QLabel* count_;
    QProgressBar* bar_;
};

}  // namespace tovri
