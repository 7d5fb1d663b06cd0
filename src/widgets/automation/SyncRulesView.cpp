#include "widgets/automation/SyncRulesView.h"

#include "screens/window/SidebarItem.h"
#include "widgets/automation/SyncRuleEditor.h"
#include "widgets/automation/SyncRuleTable.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {

SyncRulesView::SyncRulesView(SyncRulesScreen& screen, QWidget* parent)
    : SectionView(textOf(title(SidebarItem::sync)), parent),
      screen_(screen),
      model_(screen),
      table_(new SyncRuleTable(model_)),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingEditor_(screen.editor().onChange([this] { followEditor(); })) {
    setList(table_);
    connect(table_, &SyncRuleTable::opened, this,
            [this](const QModelIndex& index) { screen_.perform(SyncRuleAction::edit, model_.rowAt(index.row()).id); });
    connect(table_, &SyncRuleTable::menuWanted, this, &SyncRulesView::showMenu);
    showChrome();
}

void SyncRulesView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void SyncRulesView::followEditor() {
    showSheet(screen_.editor().isOpen(), [this] { return new SyncRuleEditor(screen_.editor(), window()); });
}

void SyncRulesView::showChrome() {
    toolbar().show(toolbarEntries(screen_.toolbar()));
    content().show(screen_.placeholder());
    showBanner(screen_.banner());
    emit commandsChanged();
}

void SyncRulesView::showMenu(int row, const QPoint& globalPosition) {
    const UUID rule = model_.rowAt(row).id;
    popUpMenu<SyncRuleAction>(*this, globalPosition, screen_.menu(rule),
                              [this, rule](SyncRuleAction action) { screen_.perform(action, rule); });
}

void SyncRulesView::pressDelete() {
    std::vector<UUID> rules;
    for (const int row : table_->selectedRows()) rules.push_back(model_.rowAt(row).id);
    screen_.deleteRules(rules);
}

}  // namespace tovri
