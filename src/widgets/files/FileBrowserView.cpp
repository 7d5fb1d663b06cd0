#include "widgets/files/FileBrowserView.h"

#include <QMimeData>
#include <QScopedValueRollback>

#include "screens/window/SidebarItem.h"
#include "widgets/files/FileListView.h"
#include "widgets/files/MoveDialog.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/LocalFiles.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Breadcrumbs.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/DialogPresenter.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {

FileBrowserView::FileBrowserView(FileBrowserScreen& screen, QWidget* parent)
    : SectionView(textOf(title(SidebarItem::files)), parent),
      screen_(screen),
      rows_(screen),
      model_(screen, rows_),
      breadcrumbs_(new Breadcrumbs),
      list_(new FileListView(screen)),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingMoves_(screen.moveSheet().onChange([this] { showMoveSheet(); })) {
    setList(list_);
    addDetails();
    addStrip(breadcrumbs_);
    list_->setModel(&model_);
    connectParts();
    new DialogPresenter(screen.dialogs(), *this);
    haveRowsChanged_ = true;
    showChrome();
}

void FileBrowserView::connectParts() {
    connect(&toolbar(), &Toolbar::searchChanged, this,
            [this](const QString& text) { screen_.search(text.toStdString()); });
    breadcrumbs_->takeDrops({.accepts = [this](int index, const QMimeData& data) { return accepts(index, data); },
                             .take = [this](int index, const QMimeData& data) { take(index, data); }});
    connect(breadcrumbs_, &Breadcrumbs::chosen, this,
            [this](int index) { screen_.openBreadcrumb(static_cast<std::size_t>(index)); });
    connect(list_, &RowListView::buttonPressed, this, [this](const QModelIndex& row, int action) {
        screen_.perform(static_cast<FileRowAction>(action), static_cast<std::size_t>(row.row()));
    });
    connect(list_, &RowListView::opened, this,
            [this](const QModelIndex& row) { screen_.activate(model_.idsOf({row})); });
    connect(list_, &RowListView::menuWanted, this, &FileBrowserView::showMenu);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &FileBrowserView::takeSelection);
}

// --- What is seen ---

// The selection waits for the chrome, which is told after all the rows of a change.
void FileBrowserView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    const QScopedValueRollback ours(isSelectionOurs_, true);
    haveRowsChanged_ = haveRowsChanged_ || change.kind != ScreenChange::Kind::changed;
    model_.follow(change);
}

void FileBrowserView::showChrome() {
    toolbar().show(toolbarEntries(screen_.toolbar()));
    toolbar().setSearchText(textOf(screen_.searchText()));
    QStringList names;
    for (const Breadcrumb& folder : screen_.breadcrumbs()) names << textOf(folder.name);
    breadcrumbs_->show(names);
    breadcrumbs_->setBusy(screen_.isLoading());
    list_->setInert(screen_.isInert());
    showFooter(textOf(screen_.footer()));
    content().show(screen_.placeholder());
    showBanner(screen_.banner());
    showSelection();
    renewDetails();
    emit commandsChanged();
}

void FileBrowserView::renewDetails() {
    if (showsDetails()) showDetails(screen_.details());
}

void FileBrowserView::showMoveSheet() {
    showSheet(screen_.moveSheet().isOpen(), [this] { return new MoveDialog(screen_.moveSheet(), window()); });
}

void FileBrowserView::showSelection() {
    if (!haveRowsChanged_ && selection_ == screen_.selection()) return;
    haveRowsChanged_ = false;
    selection_ = screen_.selection();
    const QScopedValueRollback ours(isSelectionOurs_, true);
    QItemSelection selected;
    const std::size_t count = selection_.empty() ? 0 : screen_.rowCount();
    for (std::size_t row = 0; row < count; ++row) {
        const PutIOFile* file = screen_.fileAt(row);
        if (!file || !selection_.contains(file->id)) continue;
        const QModelIndex index = model_.index(static_cast<int>(row));
        if (!selected.isEmpty() && selected.last().bottom() + 1 == index.row())
            selected.last() = QItemSelectionRange(selected.last().topLeft(), index);
        else
            selected.select(index, index);
    }
    list_->selectionModel()->select(selected, QItemSelectionModel::ClearAndSelect);
}

// --- What the user does ---

bool FileBrowserView::accepts(int breadcrumb, const QMimeData& data) const {
    if (!localFilesOf(data).empty()) return true;
    const std::string dragged = data.data(QString::fromLatin1(FileModel::transferType)).toStdString();
    return screen_.breadcrumbAcceptsDrop(static_cast<std::size_t>(breadcrumb), dragged);
}

void FileBrowserView::take(int breadcrumb, const QMimeData& data) {
    const auto index = static_cast<std::size_t>(breadcrumb);
    if (const LocalPaths files = localFilesOf(data); !files.empty()) return screen_.uploadToBreadcrumb(index, files);
    screen_.dropOnBreadcrumb(index, data.data(QString::fromLatin1(FileModel::transferType)).toStdString());
}

bool FileBrowserView::can(SectionCommand command) const {
    switch (command) {
        case SectionCommand::refresh:
            return true;
        case SectionCommand::moveTo:
            return screen_.canMove();
        case SectionCommand::goUp:
            return screen_.canGo(FolderWay::up);
        case SectionCommand::goBack:
            return screen_.canGo(FolderWay::back);
        case SectionCommand::goForward:
            return screen_.canGo(FolderWay::forward);
        default:
            return SectionView::can(command);
    }
}

void FileBrowserView::perform(SectionCommand command) {
    switch (command) {
        case SectionCommand::moveTo:
            return screen_.askWhereToMove();
        case SectionCommand::goUp:
            return screen_.go(FolderWay::up);
        case SectionCommand::goBack:
            return screen_.go(FolderWay::back);
        case SectionCommand::goForward:
            return screen_.go(FolderWay::forward);
        case SectionCommand::refresh:
            return screen_.refresh();
        default:
            return SectionView::perform(command);
    }
}

void FileBrowserView::takeSelection() {
    if (isSelectionOurs_) return;
    selection_ = model_.idsOf(list_->selectionModel()->selectedIndexes());
    screen_.select(selection_);
}

void FileBrowserView::pressToolbar(int action) {
    if (action == static_cast<int>(FileToolbarAction::chooseUploads))
        chooseLocalFiles(*this, FileBrowserScreen::uploadChooser(),
                         [this](const LocalPaths& files) { screen_.upload(files); });
    else
        screen_.perform(static_cast<FileToolbarAction>(action));
}

// For the rows that are selected now, whatever is selected when it is answered.
void FileBrowserView::showMenu(const QPoint& globalPosition) {
    const FileIDs files = model_.idsOf(list_->selectionModel()->selectedIndexes());
    popUpMenu<FileMenuAction>(*this, globalPosition, screen_.menu(files),
                              [this, files](FileMenuAction action) { screen_.perform(action, files); });
}

}  // namespace tovri
