#include "widgets/files/FileListView.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QPainter>
#include <algorithm>
#include <utility>

#include "widgets/files/FileModel.h"
#include "widgets/parts/LocalFiles.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"

namespace tovri {
namespace {

constexpr int pictureWidth = 260;
constexpr double pictureOpacity = 0.9;

}  // namespace

FileListView::FileListView(FileBrowserScreen& screen, QWidget* parent) : RowListView(parent), screen_(screen) {
    setDragEnabled(true);
    setAcceptDrops(true);
}

// --- Dragging ---

void FileListView::startDrag(Qt::DropActions) {
    const QModelIndexList rows = selectedIndexes();
    QMimeData* data = rows.isEmpty() ? nullptr : model()->mimeData(rows);
    if (data == nullptr) return;
    auto* drag = new QDrag(this);
    drag->setMimeData(data);
    drag->setPixmap(pictureOf(rows));
    drag->setHotSpot({measures::margin, RowPainter(*this).heights().plain / 2});
    drag->exec(Qt::MoveAction);
}

// The first row, and how many there are.
QPixmap FileListView::pictureOf(const QModelIndexList& dragged) const {
    const QRect row(0, 0, std::min(pictureWidth, viewport()->width()), RowPainter(*this).heights().plain);
    QPixmap picture(row.size() * devicePixelRatioF());
    picture.setDevicePixelRatio(devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setOpacity(pictureOpacity);
    painter.fillRect(row, palette().color(QPalette::Base));
    RowContent content = rows()->contentAt(dragged.first().row());
    content.trailingSymbol = {};
    if (dragged.size() > 1) content.caption = {{QString::number(dragged.size()), Tint::accent}};
    RowPainter(*this).paint(painter, row, content, {});
    return picture;
}

// --- Dropping ---

void FileListView::dragEnterEvent(QDragEnterEvent* event) {
    forgetDrag();
    const QMimeData& data = *event->mimeData();
    dragged_ = {data.data(QString::fromLatin1(FileModel::transferType)).toStdString(), !localFilesOf(data).empty()};
    consider(*event);
    event->setAccepted(!dragged_.transfers.empty() || dragged_.hasLocalFiles);  // another row may take it
}

void FileListView::dragMoveEvent(QDragMoveEvent* event) {
    consider(*event);
    const QPoint point = event->position().toPoint();
    const QRect middle = viewport()->rect().adjusted(0, autoScrollMargin(), 0, -autoScrollMargin());
    if (!middle.contains(point)) startAutoScroll();
}

void FileListView::dragLeaveEvent(QDragLeaveEvent*) {
    forgetDrag();
}

void FileListView::dropEvent(QDropEvent* event) {
    consider(*event);
    const std::optional<std::size_t> row = fileRowAt(event->position());
    const Dragged dragged = std::move(dragged_);
    forgetDrag();
    if (!event->isAccepted()) return;
    if (dragged.hasLocalFiles)
        screen_.upload(localFilesOf(*event->mimeData()), row);
    else if (row)
        screen_.drop(*row, dragged.transfers);
}

void FileListView::consider(QDropEvent& event) {
    const std::optional<std::size_t> row = fileRowAt(event.position());
    if (row != consideredRow_ || !isAccepted_) isAccepted_ = accepts(row);
    consideredRow_ = row;
    setDropRow(row && *isAccepted_ && isFolder(*row) ? static_cast<int>(*row) : -1);
    event.setDropAction(dragged_.hasLocalFiles ? Qt::CopyAction : Qt::MoveAction);
    event.setAccepted(*isAccepted_);
}

bool FileListView::accepts(std::optional<std::size_t> row) const {
    return dragged_.hasLocalFiles || (row && screen_.acceptsDrop(*row, dragged_.transfers));
}

void FileListView::forgetDrag() {
    stopAutoScroll();
    setDropRow(-1);
    dragged_ = {};
    consideredRow_ = std::nullopt;
    isAccepted_ = std::nullopt;
}

std::optional<std::size_t> FileListView::fileRowAt(const QPointF& position) const {
    const QModelIndex index = indexAt(position.toPoint());
    if (!index.isValid()) return std::nullopt;
    return static_cast<std::size_t>(index.row());
}

bool FileListView::isFolder(std::size_t row) const {
    const PutIOFile* file = screen_.fileAt(row);
    return file && file->isFolder();
}

}  // namespace tovri
