#include "widgets/files/MoveDialog.h"

#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/files/FolderBrowser.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

constexpr int sheetWidth = 420;

}  // namespace

MoveDialog::MoveDialog(MoveSheet& screen, QWidget* parent)
    : Sheet(textOf(screen.title()), parent),
      screen_(screen),
      following_(screen.folder().onChange([this](FolderChoice::Change) { update(); })) {
    setMinimumWidth(sheetWidth);
    body()->addWidget(new FolderBrowser(screen.folder(), textOf(MoveSheet::folderSection)), 1);
    addCancelButton(textOf(MoveSheet::cancelLabel));
    confirm_ = addConfirmButton(textOf(MoveSheet::confirmLabel));
    connect(this, &Sheet::confirmed, this, [this] { screen_.confirm(); });
    connect(this, &Sheet::cancelled, this, [this] { screen_.close(); });
    update();
}

void MoveDialog::update() {
    confirm_->setEnabled(screen_.canConfirm());
}

}  // namespace tovri
