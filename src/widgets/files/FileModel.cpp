#include "widgets/files/FileModel.h"

#include <QMimeData>

namespace tovri {

// By what was told so far: the screen may be ahead while a change is being told.
Qt::ItemFlags FileModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = RowModel::flags(index);
    if (!index.isValid()) return flags;
    const bool isUpload = keyAt(index.row()).high != 0;
    return isUpload ? flags & ~Qt::ItemIsSelectable : flags | Qt::ItemIsDragEnabled;
}

QStringList FileModel::mimeTypes() const {
    return {QString::fromLatin1(transferType)};
}

QMimeData* FileModel::mimeData(const QModelIndexList& indexes) const {
    const FileIDs files = idsOf(indexes);
    if (files.empty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(QString::fromLatin1(transferType), QByteArray::fromStdString(screen_.dragPayload(files)));
    return data;
}

FileIDs FileModel::idsOf(const QModelIndexList& indexes) const {
    FileIDs ids;
    ids.reserve(static_cast<std::size_t>(indexes.size()));
    for (const QModelIndex& index : indexes)
        if (const RowKey key = keyAt(index.row()); key.high == 0)
            ids.insert(FileID(static_cast<std::int64_t>(key.low)));
    return ids;
}

}  // namespace tovri
