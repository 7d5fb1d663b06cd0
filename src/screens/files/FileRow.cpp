#include "screens/files/FileRow.h"

#include "base/ByteCountFormat.h"

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

FileRow fileRow(const UploadEntry& entry) {
    FileRow row;
    row.kind = FileRow::Kind::upload;
    row.uploadID = entry.upload.id;
    row.name = entry.upload.name;
    if (entry.failure) {
        row.symbol = "exclamationmark.circle.fill";
        row.tint = row.captionTint = Tint::attention;
        row.caption = "Not uploaded";
        row.detail = *entry.failure;
        row.buttons = {{FileRowAction::retryUpload, "arrow.clockwise", "Upload again"},
                       {FileRowAction::dismissUpload, "xmark.circle", "Remove from the list"}};
        return row;
    }
    row.caption = "Uploading...";
    if (entry.sent.total > 0)
        row.detail = formatByteCount(entry.sent.sent) + " of " + formatByteCount(entry.sent.total);
    row.buttons = {{FileRowAction::cancelUpload, "xmark.circle", "Cancel upload"}};
    return row;
}

}  // namespace tovri
