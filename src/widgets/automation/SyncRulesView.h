#pragma once

#include "widgets/automation/SyncRuleModel.h"
#include "widgets/parts/SectionView.h"

namespace tovri {

class SyncRuleTable;

// The automation screen: a toolbar, what went wrong last, and the rules in columns; or a placeholder. Return and double
// click edit a rule, Delete removes the selected ones.
class SyncRulesView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit SyncRulesView(SyncRulesScreen& screen, QWidget* parent = nullptr);

    [[nodiscard]] bool can(SectionCommand command) const override {
        return command == SectionCommand::refresh ? screen_.canRefresh() : SectionView::can(command);
    }

    void perform(SectionCommand command) override {
        command == SectionCommand::refresh ? screen_.refresh() : SectionView::perform(command);
    }

protected:
    void appear() override { screen_.appear(); }

    void disappear() override { screen_.disappear(); }

    void pressToolbar(int action) override { screen_.perform(static_cast<SyncToolbarAction>(action)); }

    void pressPlaceholder() override { screen_.openPlaceholder(); }

    void pressBanner() override { screen_.dismissBanner(); }

    void pressDelete() override;

private:
    void follow(const ScreenChange& change);
    void followEditor();
    void showChrome();
    void showMenu(int row, const QPoint& globalPosition);

    SyncRulesScreen& screen_;
    SyncRuleModel model_;
    SyncRuleTable* table_;
    Subscription following_;
    Subscription followingEditor_;
};

}  // namespace tovri
