#pragma once

#include <QDialog>

namespace tovri {

// A dialog that belongs to its window: over it, before it, and never larger than it, also when the window shrinks.
class BoundDialog : public QDialog {
    Q_OBJECT

protected:
    // Of the window that `parent` is in.
    BoundDialog(const QString& title, QWidget* parent);

    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    // Sets the largest size that the window allows.
    virtual void bind();

private:
    void takeKeyboard();
};

}  // namespace tovri
