#include "service/requests/MultipartUpload.h"

#include <string_view>

namespace tovri {
namespace {

constexpr std::size_t chunkSize = 8'388'608;

// The last path component as it is, save for the two bytes that would end the header line. Those are written as
// browsers write them (HTML Standard, multipart/form-data encoding algorithm).
std::string headerFileName(const std::filesystem::path& file) {
    std::string name;
    for (const char c : file.filename().native()) {
        if (c == '\r')
            name += "%0D";
        else if (c == '\n')
            name += "%0A";
        else
            name += c;
    }
    return name;
}

std::string partHeaders(const MultipartUpload& upload) {
    const std::string delimiter = "--" + upload.boundary + "\r\n";
    return delimiter + "Content-Disposition: form-data; name=\"parent_id\"\r\n\r\n" +  //
           upload.parentID.text() + "\r\n" +                                           //
           delimiter + "Content-Disposition: form-data; name=\"file\"; filename=\"" + headerFileName(upload.file) +
           "\"\r\nContent-Type: application/octet-stream\r\n\r\n";
}

Result<void> copy(FileHandle& from, FileHandle& to, const std::stop_token& stop) {
    while (true) {
        if (stop.stop_requested()) return failure(Error::cancelled());
        Result<ByteBlob> chunk = from.read(chunkSize);
        if (!chunk) return failure(chunk);
        if (chunk->empty()) return {};
        Result<void> written = to.write(*chunk);
        if (!written) return written;
    }
}

}  // namespace

TemporaryFile::~TemporaryFile() {
    if (handle_) static_cast<void>(files_.removeItem(path_));  // nobody can do more about it
}

Result<FileHandle*> TemporaryFile::create() {
    Result<std::unique_ptr<FileHandle>> created = files_.createFile(path_);
    if (!created) return failure(created);
    handle_ = std::move(*created);
    return handle_.get();
}

Result<ByteCount> writeBody(const MultipartUpload& upload, FileManager& files, TemporaryFile& body,
                            const std::stop_token& stop) {
    const std::string head = partHeaders(upload);
    const std::string end = "\r\n--" + upload.boundary + "--\r\n";
    Result<FileHandle*> target = body.create();
    if (!target) return failure(target);
    Result<void> written = (*target)->write(head);
    if (!written) return failure(written);
    Result<std::unique_ptr<FileHandle>> source = files.openForReading(upload.file);
    if (!source) return failure(source);
    written = copy(**source, **target, stop);
    if (written) written = (*target)->write(end);
    if (!written) return failure(written);
    return static_cast<ByteCount>(head.size() + end.size());
}

}  // namespace tovri
