#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace tovri::sandbox {

// The bytes of one file: either kept in memory, or a pure function of a seed and the offset, so that a file of any size
// costs nothing and any range of it can be asked for. Values are cheap to copy and safe to read from any thread.
class Content {
public:
    // No two places of such contents look alike: bytes from a wrong offset or of another file never compare equal for
    // long.
    static Content generated(std::uint64_t seed, std::uint64_t size);
    static Content stored(std::shared_ptr<const std::string> bytes);

    std::uint64_t size() const { return size_; }

    // Fills `into` with the bytes from `offset` on. The range lies within the content.
    void read(std::uint64_t offset, std::span<char> into) const;

    // The CRC-32 (ISO 3309, as in zip files) of the whole content; a few microseconds per GiB when generated.
    std::uint32_t crc32() const;

private:
    Content(std::uint64_t seed, std::uint64_t size, std::shared_ptr<const std::string> bytes);

    std::uint64_t seed_;
    std::uint64_t size_;
    std::shared_ptr<const std::string> bytes_;
};

}  // namespace tovri::sandbox
