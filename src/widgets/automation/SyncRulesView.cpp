#include "widgets/automation/SyncRulesView.h"

#include <QAction>
#include <QShowEvent>
#include <QVBoxLayout>

#include "screens/window/SidebarItem.h"
#include "widgets/automation/SyncRuleEditor.h"
#include "widgets/automation/SyncRuleTable.h"
#include "widgets/parts/BannerView.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/Texts.h"
#include "widgets/parts/Toolbar.h"

namespace tovri {

SyncRulesView::SyncRulesView(SyncRulesScreen& screen, QWidget* parent)
    : QWidget(parent),
      screen_(screen),
      model_(screen),
      column_(new QVBoxLayout(this)),
      toolbar_(new Toolbar),
      table_(new SyncRuleTable(model_)),
      content_(new ContentArea(table_)),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingEditor_(screen.editor().onChange([this](SyncRuleEditorSheet::Change) { followEditor(); })) {
    arrange();
    connectParts();
    showChrome();
}

// The table and the editor are destroyed after what they show.
SyncRulesView::~SyncRulesView() {
    table_->setModel(nullptr);
    delete editor_;
}

void SyncRulesView::arrange() {
    column_->setContentsMargins(0, 0, 0, 0);
    column_->setSpacing(0);
    column_->addWidget(toolbar_);
    column_->addWidget(content_, 1);
    const QString name = textOf(title(SidebarItem::sync));
    setAccessibleName(name);
    table_->setAccessibleName(name);
}

void SyncRulesView::connectParts() {
    connect(toolbar_, &Toolbar::triggered, this,
            [this](int action) { screen_.perform(static_cast<SyncToolbarAction>(action)); });
    connect(content_, &ContentArea::buttonPressed, this, [this] { screen_.openPlaceholder(); });
    connect(table_, &SyncRuleTable::activated, this,
            [this](const QModelIndex& index) { screen_.perform(SyncRuleAction::edit, model_.rowAt(index.row()).id); });
    connect(table_, &SyncRuleTable::menuWanted, this, &SyncRulesView::showMenu);
    auto* deletion = new QAction(table_);
    deletion->setShortcut(QKeySequence::Delete);
    deletion->setShortcutContext(Qt::WidgetShortcut);
    deletion->setAutoRepeat(false);
    table_->addAction(deletion);
    connect(deletion, &QAction::triggered, this, &SyncRulesView::deleteSelected);
}

// A window that is minimised still shows its screen.
void SyncRulesView::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) screen_.appear();
    QWidget::showEvent(event);
}

void SyncRulesView::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) screen_.disappear();
    QWidget::hideEvent(event);
}

void SyncRulesView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void SyncRulesView::followEditor() {
    const bool isOpen = screen_.editor().isOpen();
    if (isOpen == !editor_.isNull()) return;
    if (isOpen) {
        editor_ = new SyncRuleEditor(screen_.editor(), window());
        editor_->open();
    } else {
        dismiss(editor_);
    }
}

void SyncRulesView::showChrome() {
    toolbar_->show(toolbarEntries(screen_.toolbar()));
    content_->show(screen_.placeholder());
    showBanner();
}

void SyncRulesView::showBanner() {
    const std::optional<Banner> banner = screen_.banner();
    if (banner && !banner_) {
        banner_ = new BannerView(textOf(banner->button));
        connect(banner_, &BannerView::buttonPressed, this, [this] { screen_.dismissBanner(); });
        column_->insertWidget(column_->indexOf(content_), banner_);
    }
    if (banner) banner_->show({banner->symbol, banner->text, banner->tint});
    if (!banner && banner_) banner_->hide();
}

void SyncRulesView::showMenu(int row, const QPoint& globalPosition) {
    const UUID rule = model_.rowAt(row).id;
    popUpMenu<SyncRuleAction>(*this, globalPosition, SyncRulesScreen::menu(),
                              [this, rule](SyncRuleAction action) { screen_.perform(action, rule); });
}

void SyncRulesView::deleteSelected() {
    std::vector<UUID> rules;
    for (const int row : table_->selectedRows()) rules.push_back(model_.rowAt(row).id);
    screen_.deleteRules(rules);
}

}  // namespace tovri
