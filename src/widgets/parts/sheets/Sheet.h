#pragma once

#include <QPointer>

#include "widgets/parts/sheets/BoundDialog.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Style.h"

class QDialogButtonBox;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace tovri {

class ScrolledText;
class TurningSign;

// A dialog of its window: a title, what the derived sheet adds, and buttons at the lower end in the platform's order.
// Escape is the cancel button. It does not close by itself when the confirm button is pressed: whoever shows it closes
// it when the screen says so.
class Sheet : public BoundDialog {
    Q_OBJECT

public:
    Sheet(const QString& title, QWidget* parent);

    [[nodiscard]] QVBoxLayout* body() const { return body_; }

    QPushButton* addCancelButton(const QString& title);
    QPushButton* addConfirmButton(const QString& title, Emphasis emphasis = Emphasis::suggested);

    void setSentence(const QString& text);

    // Shows beside the buttons that what was confirmed is under way.
    void setBusy(bool isBusy);

signals:
    void confirmed();
    void cancelled();  // the button, Escape, or the window's own close button

protected:
    void reject() override;

private:
    QLabel* title_;
    ScrolledText* sentence_;
    QVBoxLayout* body_;
    TurningSign* turning_;
    QDialogButtonBox* buttons_;
};

// Takes a sheet away, if there is one. Not destroyed at once: one of its buttons may be being pressed.
void dismiss(QPointer<Sheet>& sheet);

// What is wrong with the field above it, behind a symbol; takes no room while there is nothing.
class ErrorLine final : public QWidget {
    Q_OBJECT

public:
    // `textFont` makes the text's font of the widget's.
    explicit ErrorLine(QFont (*textFont)(const QFont& base) = captionFont, QWidget* parent = nullptr);

    void show(const QString& text);  // empty: nothing

protected:
    void changeEvent(QEvent* event) override;

private:
    void dress();

    QFont (*textFont_)(const QFont& base);
    QLabel* symbol_;
    QLabel* text_;
};

// Asks before something is destroyed.
[[nodiscard]] Sheet* makeConfirmation(QWidget* parent, const QString& title, const QString& message,
                                      const QString& confirmLabel, const QString& cancelLabel);

// Tells what failed.
[[nodiscard]] Sheet* makeAlert(QWidget* parent, const QString& title, const QString& message, const QString& okLabel);

}  // namespace tovri
