#pragma once

#include "screens/window/ContentScreen.h"
#include "widgets/parts/sheets/BoundDialog.h"

class QCheckBox;
class QLabel;

namespace tovri {

class ScrolledText;

// Asks what is to become of a file whose name is taken. Only an answer ends it: Escape and the window manager's close
// button do nothing, and no button is the default one.
class ConflictDialog final : public BoundDialog {
    Q_OBJECT

public:
    // Of the sheet that `screen` has, which outlives the dialog.
    ConflictDialog(ContentScreen& screen, QWidget* parent);

    [[nodiscard]] const UUID& conflict() const { return conflict_; }

    // The switch and the files, as the screen has them now.
    void update(const ConflictSheet& sheet);
    using BoundDialog::update;

    void reject() override {}

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void bind() override;

private:
    void arrange();
    QWidget* makeFacts();
    QWidget* makeButtons();
    void dress();

    ContentScreen& screen_;
    UUID conflict_;
    QString path_;
    QLabel* symbol_;
    QLabel* title_;
    ScrolledText* message_;
    QLabel* existing_;
    QLabel* arriving_;
    QLabel* shownPath_;
    QCheckBox* applyToAll_;
    QList<QLabel*> facts_;
    QList<QLabel*> pale_;
};

}  // namespace tovri
