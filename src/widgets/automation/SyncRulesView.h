#pragma once

#include <QPointer>
#include <QWidget>

#include "widgets/automation/SyncRuleModel.h"

class QVBoxLayout;

namespace tovri {

class BannerView;
class ContentArea;
class Sheet;
class SyncRuleTable;
class Toolbar;

// The automation screen: a toolbar, what went wrong last, and the rules in columns; or a placeholder. Return and double
// click edit a rule, Delete removes the selected ones.
class SyncRulesView final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit SyncRulesView(SyncRulesScreen& screen, QWidget* parent = nullptr);
    ~SyncRulesView() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void arrange();
    void connectParts();
    void follow(const ScreenChange& change);
    void followEditor();
    void showChrome();
    void showBanner();
    void showMenu(int row, const QPoint& globalPosition);
    void deleteSelected();

    SyncRulesScreen& screen_;
    SyncRuleModel model_;
    QVBoxLayout* column_;
    Toolbar* toolbar_;
    BannerView* banner_ = nullptr;  // made for the first one
    SyncRuleTable* table_;
    ContentArea* content_;
    QPointer<Sheet> editor_;
    Subscription following_;
    Subscription followingEditor_;
};

}  // namespace tovri
