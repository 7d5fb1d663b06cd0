#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

#include "screens/Banner.h"
#include "screens/Details.h"
#include "screens/Label.h"
#include "widgets/parts/SectionCommand.h"

class QAbstractItemView;
class QVBoxLayout;

namespace tovri {

class BannerView;
class ContentArea;
class DetailsPanel;
class DetailsSetting;
class DetailsSplit;
class FootLine;
class Sheet;
class SummaryLine;
class Toolbar;

// The view of a section of the window: a toolbar above the section's list, or above the placeholder that stands in for
// it, and the sheet that the section may have open. The derived view stands between these and its screen.
class SectionView : public QWidget {
    Q_OBJECT

public:
    ~SectionView() override;

    // What the window's menus pass on, and when it makes sense.
    [[nodiscard]] virtual bool can(SectionCommand command) const;
    virtual void perform(SectionCommand command);

    // Of a command that turns something on and off.
    [[nodiscard]] virtual bool isOn(SectionCommand) const { return false; }

    // Of the details beside its list, if it has them.
    void followDetails(DetailsSetting& setting);

signals:
    void commandsChanged();  // others can be performed now

protected:
    SectionView(const QString& name, QWidget* parent);

    // At construction, once.
    void setList(QAbstractItemView* list);

    // Stands below the toolbar from now on.
    void addStrip(QWidget* strip);

    [[nodiscard]] Toolbar& toolbar() const { return *toolbar_; }

    [[nodiscard]] ContentArea& content() const { return *content_; }

    // Beside the list, where the user wants them. After the list.
    void addDetails();

    [[nodiscard]] bool showsDetails() const;

    void showDetails(const Details& details);

    // Below the toolbar, or nowhere.
    void showBanner(const std::optional<Banner>& banner);

    // Below the list; nothing without a text.
    void showFooter(const QString& text);

    // Above the list; without a text, only where the line has a switch.
    void showSummary(const std::vector<Label>& summary);

    // At the line's other end; what the user does with it goes to `set`.
    void addSummarySwitch(const std::function<void(bool)>& set);
    void showSummarySwitch(const QString& text, bool isOn, const QString& help);

    // Opens the section's sheet, or takes it away.
    void showSheet(bool isOpen, const std::function<Sheet*()>& make);

    // The section was entered, or left. A window that is minimised still shows its section.
    virtual void appear() = 0;
    virtual void disappear() = 0;

    // What the user presses: a button of the toolbar, the placeholder's, the banner's, the Delete key in the list.
    virtual void pressToolbar(int action) = 0;

    virtual void pressPlaceholder() {}

    virtual void pressBanner() {}

    virtual void pressDelete() = 0;

    virtual void pressDetails(DetailsAction /*action*/) {}

    // They have come into sight, or gone out of it.
    virtual void renewDetails() {}

    void showEvent(QShowEvent* event) final;
    void hideEvent(QHideEvent* event) final;

private:
    QVBoxLayout* column_;
    Toolbar* toolbar_;
    SummaryLine* summary_;
    FootLine* foot_ = nullptr;      // made for the first text
    BannerView* banner_ = nullptr;  // made for the first one
    bool hasSummarySwitch_ = false;
    ContentArea* content_ = nullptr;
    DetailsSplit* split_ = nullptr;  // null without details
    DetailsPanel* details_ = nullptr;
    QPointer<Sheet> sheet_;
};

}  // namespace tovri
