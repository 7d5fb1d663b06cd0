#pragma once

#include <QModelIndexList>

#include "screens/files/FileBrowserScreen.h"
#include "widgets/files/FileRows.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

// The rows of the file browser for its list: files and folders can be selected and dragged, uploads cannot.
class FileModel final : public RowModel {
    Q_OBJECT

public:
    // What a dragged row carries, under the type for data of no particular kind.
    static constexpr const char* transferType = "application/octet-stream";

    // `screen` and `rows` outlive the model.
    FileModel(const FileBrowserScreen& screen, const FileRows& rows) : RowModel(rows), screen_(screen) {}

    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;
    [[nodiscard]] QStringList mimeTypes() const override;
    [[nodiscard]] QMimeData* mimeData(const QModelIndexList& indexes) const override;

    // Uploads have none and are left out.
    [[nodiscard]] FileIDs idsOf(const QModelIndexList& indexes) const;

private:
    const FileBrowserScreen& screen_;
};

}  // namespace tovri
