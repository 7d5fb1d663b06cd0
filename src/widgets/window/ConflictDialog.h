#pragma once

#include <QDialog>

#include "screens/window/ContentScreen.h"

class QCheckBox;
class QLabel;

namespace tovri {

// Asks what is to become of a file whose name is taken. Only an answer ends it: Escape and the window manager's close
// button do nothing, and no button is the default one.
class ConflictDialog final : public QDialog {
    Q_OBJECT

public:
    // Of the sheet that `screen` has, which outlives the dialog.
    ConflictDialog(ContentScreen& screen, QWidget* parent);

    [[nodiscard]] const UUID& conflict() const { return conflict_; }

    // The switch, as the screen has it now.
    void update(const ConflictSheet& sheet);
    using QDialog::update;

    void reject() override {}

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* makeButtons();
    void dress();
    void shortenPath();

    ContentScreen& screen_;
    UUID conflict_;
    QString path_;
    QLabel* symbol_;
    QLabel* title_;
    QLabel* message_;
    QLabel* shownPath_;
    QCheckBox* applyToAll_;
};

}  // namespace tovri
