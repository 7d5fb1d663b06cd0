#pragma once

#include <QWidget>

namespace tovri {

// A text on one line that is shortened where it does not fit; whole as a tooltip.
class ElidedLabel final : public QWidget {
    Q_OBJECT

public:
    ElidedLabel(Qt::TextElideMode mode, Qt::AlignmentFlag place, QWidget* parent = nullptr);

    void setText(const QString& text);

    [[nodiscard]] const QString& text() const { return text_; }

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::TextElideMode mode_;
    Qt::AlignmentFlag place_;
    QString text_;
};

}  // namespace tovri
