#include "widgets/automation/FolderBrowser.h"

#include <QAction>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "widgets/parts/Breadcrumbs.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/TextLabel.h"
#include "widgets/parts/Texts.h"
#include "widgets/rows/RowListView.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int leastHeight = 120;
constexpr int mostHeight = 200;

}  // namespace

RowKey FolderBrowser::Rows::keyAt(std::size_t row) const {
    return {0, static_cast<std::uint64_t>(screen_.folders()[row].id.number)};
}

QString FolderBrowser::Rows::titleAt(std::size_t row) const {
    return textOf(screen_.folders()[row].name);
}

RowContent FolderBrowser::Rows::contentAt(std::size_t row) const {
    return {.symbol = SyncRuleEditorSheet::folderSymbol,
            .symbolTint = Tint::accent,
            .title = titleAt(row),
            .trailingSymbol = SyncRuleEditorSheet::folderTrailingSymbol};
}

FolderBrowser::FolderBrowser(SyncRuleEditorSheet& screen, QWidget* parent)
    : QWidget(parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      check_(makeLabel()),
      selected_(new TextLabel),
      way_(new Breadcrumbs),
      list_(new RowListView),
      content_(new ContentArea(list_)) {
    arrange();
    list_->setModel(&model_);
    connect(way_, &Breadcrumbs::chosen, this,
            [this](int index) { screen_.openBreadcrumb(static_cast<std::size_t>(index)); });
    connect(list_, &RowListView::clicked, this, &FolderBrowser::open);
    // As a shortcut, so that the key does not reach the button that confirms the sheet.
    auto* opening = new QAction(list_);
    opening->setShortcuts({Qt::Key_Return, Qt::Key_Enter});
    opening->setShortcutContext(Qt::WidgetShortcut);
    opening->setAutoRepeat(false);
    list_->addAction(opening);
    connect(opening, &QAction::triggered, this, [this] { open(list_->currentIndex()); });
    showWay();
    showFolders();
    dress();
}

void FolderBrowser::arrange() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(measures::gap);
    auto* choice = new QHBoxLayout;
    choice->setSpacing(measures::gap);
    selected_->setWordWrap(true);
    choice->addWidget(check_);
    choice->addWidget(selected_, 1);
    auto* box = new QGroupBox;
    box->setAccessibleName(textOf(SyncRuleEditorSheet::remoteSection));
    box->setMinimumHeight(leastHeight);
    box->setMaximumHeight(mostHeight);
    auto* inBox = new QVBoxLayout(box);
    inBox->setContentsMargins(2, 2, 2, 2);
    inBox->setSpacing(0);
    inBox->addWidget(way_);
    inBox->addWidget(content_, 1);
    list_->setAccessibleName(textOf(SyncRuleEditorSheet::remoteSection));
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    column->addLayout(choice);
    column->addWidget(box, 1);
}

void FolderBrowser::open(const QModelIndex& folder) {
    if (folder.isValid() && !screen_.isLoadingFolders()) screen_.openFolder(static_cast<std::size_t>(folder.row()));
}

void FolderBrowser::showWay() {
    selected_->setText(textOf(screen_.selectedText()));
    QStringList names;
    for (const Breadcrumb& folder : screen_.browserPath()) names << textOf(folder.name);
    way_->show(names);
}

void FolderBrowser::showFolders() {
    if (!screen_.isLoadingFolders()) model_.follow({ScreenChange::Kind::reset});
    content_->show(screen_.isLoadingFolders() ? std::optional(progressPlaceholder("")) : std::nullopt);
}

void FolderBrowser::dress() {
    const QSize size(measures::smallSymbol, measures::smallSymbol);
    check_->setPixmap(symbolIcon(SyncRuleEditorSheet::selectedSymbol, Tint::success).pixmap(size, devicePixelRatioF()));
}

void FolderBrowser::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) dress();
}

}  // namespace tovri
