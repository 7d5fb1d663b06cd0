#include "widgets/window/sidebar/Sidebar.h"

#include <QListWidget>
#include <QShowEvent>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Measures.h"
#include "widgets/window/UploadStatus.h"
#include "widgets/window/sidebar/AccountFoot.h"
#include "widgets/window/sidebar/SectionPainter.h"

namespace tovri {

Sidebar::Sidebar(ContentScreen& screen, SidebarFoot& foot, QWidget* parent)
    : QFrame(parent),
      screen_(screen),
      foot_(foot),
      list_(new QListWidget),
      uploads_(new UploadStatus),
      account_(new AccountFoot),
      following_(screen.onChange([this](ContentScreen::Change change) { follow(change); })),
      followingFoot_(foot.onChange([this] { account_->show(foot_.lines()); })) {
    setMinimumWidth(ContentScreen::sidebarMinimumWidth);
    setMaximumWidth(ContentScreen::sidebarMaximumWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, measures::spacing, 0, 0);
    column->setSpacing(0);
    column->addWidget(list_);
    column->addWidget(uploads_);
    column->addWidget(account_);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setItemDelegate(new SectionPainter(list_));
    list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list_->setMouseTracking(true);
    list_->setAccessibleName(tr("Sections"));
    list_->viewport()->setAutoFillBackground(false);
    for (const SidebarItem item : allSidebarItems) {
        auto* row = new QListWidgetItem(textOf(title(item)), list_);
        row->setData(SectionPainter::symbolRole, textOf(symbol(item)));
    }
    connect(list_, &QListWidget::itemSelectionChanged, this, &Sidebar::takeSelection);
    showSelection();
    showBadges();
    uploads_->show(screen_.uploadPanel());
    account_->show(foot_.lines());
    setFocusProxy(list_);
}

// A window that is minimised still counts as being looked at.
void Sidebar::showEvent(QShowEvent* event) {
    QFrame::showEvent(event);
    if (!event->spontaneous()) foot_.appear();
}

void Sidebar::hideEvent(QHideEvent* event) {
    QFrame::hideEvent(event);
    if (!event->spontaneous()) foot_.disappear();
}

void Sidebar::follow(ContentScreen::Change change) {
    switch (change) {
        case ContentScreen::Change::content:
        case ContentScreen::Change::selection:
            return showSelection();
        case ContentScreen::Change::badge:
            return showBadges();
        case ContentScreen::Change::uploads:
            return uploads_->show(screen_.uploadPanel());
        case ContentScreen::Change::conflict:
            return;
    }
}

void Sidebar::showSelection() {
    const QSignalBlocker blocker(list_);
    const std::optional<SidebarItem> item = screen_.selectedItem();
    list_->setCurrentRow(item ? static_cast<int>(*item) : -1);
}

// Not the current row: that one stays when Ctrl takes the selection away.
void Sidebar::takeSelection() {
    const QModelIndexList rows = list_->selectionModel()->selectedRows();
    screen_.select(rows.isEmpty() ? std::nullopt : std::optional(static_cast<SidebarItem>(rows.constFirst().row())));
}

void Sidebar::showBadges() {
    for (const SidebarItem item : allSidebarItems) {
        const QString badge = textOf(screen_.badge(item));
        QListWidgetItem* row = list_->item(static_cast<int>(item));
        row->setData(SectionPainter::badgeRole, badge);
        row->setData(Qt::AccessibleTextRole, badge.isEmpty() ? row->text() : row->text() + ", " + badge);
    }
}

}  // namespace tovri
