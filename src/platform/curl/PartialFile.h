#pragma once

#include <filesystem>
#include <string_view>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

// The bytes of a download that have arrived so far, appended one after the other. Owned by its transfer; closing it
// leaves the file where it is.
class PartialFile {
public:
    // A new file, readable by its owner alone, in a folder that is made where it is missing.
    [[nodiscard]] static Result<PartialFile> create(const std::filesystem::path& path);

    // An existing file, cut to its first `length` bytes; a failure when it holds fewer.
    [[nodiscard]] static Result<PartialFile> reopen(const std::filesystem::path& path, ByteCount length);

    PartialFile(PartialFile&& other) noexcept;
    PartialFile& operator=(PartialFile&&) = delete;
    ~PartialFile();

    [[nodiscard]] Result<void> append(std::string_view bytes);

    // Returns when the bytes would survive a loss of power, or cannot be made to. Any thread.
    void synchronize() const;

    [[nodiscard]] ByteCount length() const { return length_; }

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    PartialFile(std::filesystem::path path, int descriptor, ByteCount length)
        : path_(std::move(path)), descriptor_(descriptor), length_(length), handedToDisk_(length) {}

    void startWriteback();

    std::filesystem::path path_;
    int descriptor_ = -1;
    ByteCount length_ = 0;
    ByteCount handedToDisk_ = 0;  // up to here the system was asked to write
};

}  // namespace tovri
