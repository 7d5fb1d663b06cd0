#pragma once

#include <QToolButton>

namespace tovri {

// A button that looks like a link, and ends where its text does.
class LinkButton final : public QToolButton {
    Q_OBJECT

public:
    explicit LinkButton(const QString& title, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace tovri
