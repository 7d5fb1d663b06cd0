#pragma once

#include <QWidget>

#include "screens/Notices.h"
#include "screens/Tint.h"

class QLabel;
class QToolButton;

namespace tovri {

class TextLabel;

// The bar at the foot of the window: what happened, at most one thing to do about it, and a button to close it. Takes
// room only while there is something to say.
class NoticeBar final : public QWidget {
    Q_OBJECT

public:
    // `notices` outlives the bar.
    explicit NoticeBar(Notices& notices, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void showNotice();
    void announce();
    void dress();

    Notices& notices_;
    Tint tint_ = Tint::accent;
    QLabel* symbol_;
    TextLabel* text_;
    QToolButton* action_;
    QToolButton* close_;
    Subscription following_;
};

}  // namespace tovri
