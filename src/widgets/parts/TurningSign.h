#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QWidget>

namespace tovri {

// Says that something is under way whose length is unknown. Stands still where motion is not wanted.
class TurningSign final : public QWidget {
    Q_OBJECT

public:
    explicit TurningSign(QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QBasicTimer timer_;
    QElapsedTimer clock_;
};

}  // namespace tovri
