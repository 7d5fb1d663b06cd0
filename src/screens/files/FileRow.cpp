#include "screens/files/FileRow.h"

namespace tovri {
namespace {

std::string captionOf(const PutIOFile& file) {
    return file.isFolder() ? file.displaySize() : file.displaySize() + " · " + file.contentType.value_or("unknown");
}

}  // namespace

FileRow fileRow(const PutIOFile& file) {
    FileRow row;
    row.kind = file.isFolder() ? FileRow::Kind::folder : FileRow::Kind::file;
    row.fileID = file.id;
    row.symbol = file.iconName();
    row.tint = file.isFolder() ? Tint::accent : Tint::secondary;
    row.name = file.name;
    row.caption = captionOf(file);
    if (file.isFolder()) row.trailingSymbol = "chevron.right";
    return row;
}

FileRow fileRow(const PendingUpload& upload) {
    FileRow row;
    row.kind = FileRow::Kind::upload;
    row.uploadID = upload.id;
    row.name = upload.name;
    row.caption = "Uploading...";
    row.button = {FileRowAction::cancelUpload, "xmark.circle", "Cancel upload"};
    return row;
}

}  // namespace tovri
