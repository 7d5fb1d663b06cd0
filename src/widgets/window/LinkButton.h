#pragma once

#include <QApplication>
#include <QEvent>
#include <QToolButton>

namespace tovri {

// A button that looks like a link.
class LinkButton final : public QToolButton {
    Q_OBJECT

public:
    explicit LinkButton(const QString& title, QWidget* parent = nullptr) : QToolButton(parent) {
        setText(title);
        setAutoRaise(true);
        setFocusPolicy(Qt::StrongFocus);
        dress();
    }

protected:
    void changeEvent(QEvent* event) override {
        QToolButton::changeEvent(event);
        if (event->type() == QEvent::ApplicationPaletteChange) dress();
    }

private:
    void dress() {
        QPalette palette = QApplication::palette();
        palette.setColor(QPalette::ButtonText, palette.color(QPalette::Link));
        setPalette(palette);
    }
};

}  // namespace tovri
