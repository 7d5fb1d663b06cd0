#pragma once

#include <filesystem>
#include <string>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

// What a request sends: a text, or a file that is read as it is sent. Owned by its exchange; the loop's thread.
class RequestBody {
public:
    [[nodiscard]] static RequestBody ofText(std::string text);
    [[nodiscard]] static Result<RequestBody> ofFile(const std::filesystem::path& path);

    RequestBody(RequestBody&& other) noexcept;
    RequestBody& operator=(RequestBody&&) = delete;
    ~RequestBody();

    [[nodiscard]] ByteCount length() const { return length_; }

    // What has not been read yet.
    [[nodiscard]] ByteCount left() const { return length_ - offset_; }

    // Fills the buffer from where the last call ended; the number of bytes, 0 at the end. A file that no longer holds
    // `length` bytes is a failure.
    [[nodiscard]] Result<std::size_t> read(char* buffer, std::size_t size);

    [[nodiscard]] bool isFile() const { return descriptor_ >= 0; }

    // Whether all of it has been read.
    [[nodiscard]] bool isAtEnd() const { return offset_ == length_; }

    void moveTo(ByteCount offset) { offset_ = offset; }

private:
    RequestBody(std::string text, int descriptor, ByteCount length)
        : text_(std::move(text)), descriptor_(descriptor), length_(length) {}

    std::string text_;
    int descriptor_ = -1;  // of the file; -1 for a text
    ByteCount length_ = 0;
    ByteCount offset_ = 0;
};

}  // namespace tovri
