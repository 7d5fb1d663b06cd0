#include "widgets/files/FolderBrowser.h"

#include <QAction>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QVBoxLayout>

#include "widgets/parts/ContentArea.h"
#include "widgets/parts/bars/Breadcrumbs.h"
#include "widgets/parts/text/BreakableText.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int leastHeight = 120;
constexpr int mostHeight = 200;
constexpr qsizetype longestName = 240;  // characters

}  // namespace

RowKey FolderBrowser::Rows::keyAt(std::size_t row) const {
    return {0, static_cast<std::uint64_t>(choice_.folders()[row].id.number)};
}

QString FolderBrowser::Rows::titleAt(std::size_t row) const {
    return textOf(choice_.folders()[row].name);
}

RowContent FolderBrowser::Rows::contentAt(std::size_t row) const {
    return {
        .symbol = "folder.fill", .symbolTint = Tint::accent, .title = titleAt(row), .trailingSymbol = "chevron.right"};
}

FolderBrowser::FolderBrowser(FolderChoice& choice, const QString& name, QWidget* parent)
    : QWidget(parent),
      choice_(choice),
      rows_(choice),
      model_(rows_),
      check_(makeLabel()),
      selected_(new TextLabel),
      way_(new Breadcrumbs),
      list_(new RowListView),
      content_(new ContentArea(list_)),
      following_(choice.onChange([this](FolderChoice::Change change) {
          change == FolderChoice::Change::chosen ? showWay() : showFolders();
      })) {
    arrange(name);
    list_->setModel(&model_);
    connect(way_, &Breadcrumbs::chosen, this,
            [this](int index) { choice_.openBreadcrumb(static_cast<std::size_t>(index)); });
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

void FolderBrowser::arrange(const QString& name) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(measures::gap);
    auto* choice = new QHBoxLayout;
    choice->setSpacing(measures::gap);
    selected_->setWordWrap(true);
    choice->addWidget(check_);
    choice->addWidget(selected_, 1);
    auto* box = new QGroupBox;
    box->setAccessibleName(name);
    box->setMinimumHeight(leastHeight);
    box->setMaximumHeight(mostHeight);
    auto* inBox = new QVBoxLayout(box);
    inBox->setContentsMargins(2, 2, 2, 2);
    inBox->setSpacing(0);
    inBox->addWidget(way_);
    inBox->addWidget(content_, 1);
    list_->setAccessibleName(name);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    column->addLayout(choice);
    column->addWidget(box, 1);
}

void FolderBrowser::open(const QModelIndex& folder) {
    if (folder.isValid() && !choice_.isLoading()) choice_.openFolder(static_cast<std::size_t>(folder.row()));
}

void FolderBrowser::showWay() {
    selected_->setText(breakable(textOf(choice_.chosenText()), longestName));
    QStringList names;
    for (const Breadcrumb& folder : choice_.path()) names << textOf(folder.name);
    way_->show(names);
}

void FolderBrowser::showFolders() {
    if (!choice_.isLoading()) model_.follow({ScreenChange::Kind::reset});
    content_->show(choice_.isLoading() ? std::optional(progressPlaceholder("")) : std::nullopt);
}

void FolderBrowser::dress() {
    const QSize size(measures::smallSymbol, measures::smallSymbol);
    check_->setPixmap(symbolIcon("checkmark.circle.fill", Tint::success).pixmap(size, devicePixelRatioF()));
}

void FolderBrowser::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) dress();
}

}  // namespace tovri
