#pragma once

#include <optional>
#include <string>

#include "screens/files/FileBrowserScreen.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

// The list of the file browser, with dragging and dropping: rows onto a folder, to be moved, and local files onto a
// folder or anywhere else, to be uploaded.
class FileListView final : public RowListView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit FileListView(FileBrowserScreen& screen, QWidget* parent = nullptr);

protected:
    void startDrag(Qt::DropActions actions) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // What is over the list: rows of a file browser, or local files.
    struct Dragged {
        std::string transfers;
        bool hasLocalFiles = false;
    };

    [[nodiscard]] std::optional<std::size_t> fileRowAt(const QPointF& position) const;
    [[nodiscard]] bool isFolder(std::size_t row) const;
    [[nodiscard]] bool accepts(std::optional<std::size_t> row) const;
    void consider(QDropEvent& event);
    void forgetDrag();
    [[nodiscard]] QPixmap pictureOf(const QModelIndexList& rows) const;

    FileBrowserScreen& screen_;
    Dragged dragged_;
    std::optional<std::size_t> consideredRow_;  // and what was answered for it, until the pointer goes elsewhere
    std::optional<bool> isAccepted_;
};

}  // namespace tovri
