#include "widgets/parts/SectionView.h"

#include <QAbstractItemView>
#include <QAction>
#include <QShowEvent>
#include <QVBoxLayout>

#include "widgets/parts/ContentArea.h"
#include "widgets/parts/bars/BannerView.h"
#include "widgets/parts/bars/FootLine.h"
#include "widgets/parts/bars/SummaryLine.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/details/DetailsPanel.h"
#include "widgets/parts/details/DetailsSetting.h"
#include "widgets/parts/details/DetailsSplit.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

QVBoxLayout* makeColumn(QWidget* widget) {
    auto* column = new QVBoxLayout(widget);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    return column;
}

}  // namespace

SectionView::SectionView(const QString& name, QWidget* parent)
    : QWidget(parent), column_(makeColumn(this)), toolbar_(new Toolbar), summary_(new SummaryLine) {
    setAccessibleName(name);
    column_->addWidget(toolbar_);
    connect(toolbar_, &Toolbar::triggered, this, [this](int action) { pressToolbar(action); });
}

// What the sheet shows is the screen's, which may not outlive the window.
SectionView::~SectionView() {
    delete sheet_;
}

void SectionView::setList(QAbstractItemView* list) {
    list->setAccessibleName(accessibleName());
    list->setAlternatingRowColors(true);
    auto* content = new QWidget;
    QVBoxLayout* column = makeColumn(content);
    column->addWidget(summary_);
    column->addWidget(list);
    summary_->hide();
    content_ = new ContentArea(content, list);
    column_->addWidget(content_, 1);
    connect(content_, &ContentArea::buttonPressed, this, [this] { pressPlaceholder(); });
    auto* deletion = new QAction(list);
    deletion->setShortcut(QKeySequence::Delete);
    deletion->setShortcutContext(Qt::WidgetShortcut);
    deletion->setAutoRepeat(false);
    list->addAction(deletion);
    connect(deletion, &QAction::triggered, this, [this] { pressDelete(); });
}

void SectionView::addStrip(QWidget* strip) {
    column_->insertWidget(column_->indexOf(toolbar_) + 1, strip);
}

// --- Details ---

void SectionView::addDetails() {
    details_ = new DetailsPanel;
    split_ = new DetailsSplit(content_, details_);
    column_->addWidget(split_, 1);
    connect(details_, &DetailsPanel::pressed, this, [this](DetailsAction action) { pressDetails(action); });
}

// What has the focus must not take it out of sight.
void SectionView::followDetails(DetailsSetting& setting) {
    if (split_ == nullptr) return;
    connect(&setting, &DetailsSetting::changed, this, [this, &setting] {
        if (!setting.isShown() && details_->isAncestorOf(window()->focusWidget())) content_->takeFocus();
    });
    split_->follow(setting);
    connect(&setting, &DetailsSetting::changed, this, [this] { renewDetails(); });
    renewDetails();
}

bool SectionView::showsDetails() const {
    return split_ != nullptr && split_->showsDetails() && isVisible();
}

void SectionView::showDetails(const Details& details) {
    details_->show(details);
}

// --- Commands ---

bool SectionView::can(SectionCommand command) const {
    if (command == SectionCommand::details) return split_ != nullptr;
    return command == SectionCommand::find && toolbar_->hasSearch();
}

void SectionView::perform(SectionCommand command) {
    if (command == SectionCommand::find) toolbar_->focusSearch();
}

void SectionView::showFooter(const QString& text) {
    if (foot_ == nullptr) {
        if (text.isEmpty()) return;
        foot_ = new FootLine;
        column_->addWidget(foot_);
    }
    foot_->show(text);
}

void SectionView::showBanner(const std::optional<Banner>& banner) {
    if (banner && !banner_) {
        banner_ = new BannerView(textOf(banner->button));
        connect(banner_, &BannerView::buttonPressed, this, [this] { pressBanner(); });
        addStrip(banner_);
    }
    if (banner) banner_->show({banner->symbol, banner->text, banner->tint});
    if (!banner && banner_) banner_->hide();
}

void SectionView::showSummary(const std::vector<Label>& summary) {
    summary_->show(summary);
    summary_->setVisible(!summary.empty() || hasSummarySwitch_);
}

void SectionView::addSummarySwitch(const std::function<void(bool)>& set) {
    hasSummarySwitch_ = true;
    connect(summary_, &SummaryLine::switched, this, set);
}

void SectionView::showSummarySwitch(const QString& text, bool isOn, const QString& help) {
    summary_->showSwitch(text, isOn, help);
}

void SectionView::showSheet(bool isOpen, const std::function<Sheet*()>& make) {
    if (isOpen == !sheet_.isNull()) return;
    if (!isOpen) return dismiss(sheet_);
    sheet_ = make();
    sheet_->open();
}

void SectionView::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) appear();
    renewDetails();
    QWidget::showEvent(event);
}

void SectionView::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) disappear();
    renewDetails();
    QWidget::hideEvent(event);
}

}  // namespace tovri
