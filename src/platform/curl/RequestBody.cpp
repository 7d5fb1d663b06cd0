#include "platform/curl/RequestBody.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovri {

RequestBody RequestBody::ofText(std::string text) {
    const auto length = static_cast<ByteCount>(text.size());
    return {std::move(text), -1, length};
}

Result<RequestBody> RequestBody::ofFile(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    RequestBody body({}, descriptor, 0);
    struct stat status{};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        return failure(Error(ErrorCase::file, "Could not read " + path.string() + ": " + std::strerror(errno) + "."));
    body.length_ = status.st_size;
    return body;
}

RequestBody::RequestBody(RequestBody&& other) noexcept
    : text_(std::move(other.text_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      length_(other.length_),
      offset_(other.offset_) {}

RequestBody::~RequestBody() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

Result<std::size_t> RequestBody::read(char* buffer, std::size_t size) {
    const std::size_t count = std::min(size, static_cast<std::size_t>(length_ - offset_));
    if (descriptor_ < 0) {
        text_.copy(buffer, count, static_cast<std::size_t>(offset_));
        offset_ += static_cast<ByteCount>(count);
        return count;
    }
    const ssize_t got = count == 0 ? 0 : ::pread(descriptor_, buffer, count, offset_);
    if (got < 0 || (got == 0 && count > 0))
        return failure(Error(ErrorCase::file, "The file to upload changed or could not be read; retry."));
    offset_ += got;
    return static_cast<std::size_t>(got);
}

}  // namespace tovri
