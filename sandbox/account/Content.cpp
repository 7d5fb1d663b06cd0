#include "sandbox/account/Content.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstring>
#include <vector>

#include <libdeflate.h>

#include "sandbox/Random.h"

namespace tovri::sandbox {
namespace {

// A content is a row of segments. Each begins with a tag that no other segment shares and goes on with a slice of one
// block of noise, which starts somewhere else in every segment. Reading is a memcpy out of the processor's cache.
constexpr std::size_t segmentSize = 64UL * 1024;
constexpr std::size_t tagSize = 16;
constexpr std::size_t sliceSize = segmentSize - tagSize;
constexpr std::size_t noiseSize = 512UL * 1024;
constexpr std::size_t granule = 8;
constexpr std::size_t sliceStarts = (noiseSize - sliceSize) / granule + 1;

// What following a CRC-32 by sliceSize more bytes does to it. That is linear over bits, so it is looked up byte by
// byte: crc(a + slice) == advance(crc(a)) ^ crc(slice).
class CrcAdvance {
public:
    CrcAdvance() {
        const std::vector<char> zeros(sliceSize, 0);
        const auto follow = [&](std::uint32_t crc) { return libdeflate_crc32(crc, zeros.data(), zeros.size()); };
        const std::uint32_t constantPart = follow(0);
        for (std::size_t byte = 0; byte < table_.size(); ++byte) {
            for (std::uint32_t bit = 0; bit < 8; ++bit) {
                const std::uint32_t image = follow(1U << (byte * 8 + bit)) ^ constantPart;
                for (std::uint32_t value = 0; value < 256; ++value) {
                    if ((value >> bit & 1U) != 0) table_[byte][value] ^= image;
                }
            }
        }
    }

    std::uint32_t operator()(std::uint32_t crc) const {
        return table_[0][crc & 255U] ^ table_[1][crc >> 8U & 255U] ^ table_[2][crc >> 16U & 255U] ^
               table_[3][crc >> 24U];
    }

private:
    std::array<std::array<std::uint32_t, 256>, 4> table_{};
};

struct Noise {
    Noise() : bytes(noiseSize), crcBefore(noiseSize / granule + 1) {
        Random random(0x746f767269);
        for (std::size_t at = 0; at < noiseSize; at += granule) {
            const std::uint64_t word = random.next();
            std::memcpy(&bytes[at], &word, granule);
            crcBefore[at / granule + 1] = libdeflate_crc32(crcBefore[at / granule], &bytes[at], granule);
        }
    }

    std::vector<char> bytes;
    std::vector<std::uint32_t> crcBefore;  // of the noise up to each granule
    CrcAdvance advance;
};

const Noise& noise() {
    static const Noise only;
    return only;
}

struct Segment {
    std::array<char, tagSize> tag;
    std::size_t start;
};

Segment segmentAt(std::uint64_t seed, std::uint64_t index) {
    const std::uint64_t key = mix(seed ^ mix(index));
    const std::array<std::uint64_t, 2> words = {key, mix(key)};
    Segment segment{};
    static_assert(sizeof words == tagSize);
    std::memcpy(segment.tag.data(), words.data(), tagSize);
    segment.start = mix(words[1]) % sliceStarts * granule;
    return segment;
}

void readGenerated(std::uint64_t seed, std::uint64_t offset, std::span<char> into) {
    const Noise& source = noise();
    while (!into.empty()) {
        const Segment segment = segmentAt(seed, offset / segmentSize);
        const auto within = static_cast<std::size_t>(offset % segmentSize);
        const bool inTag = within < tagSize;
        const std::size_t count = std::min(into.size(), (inTag ? tagSize : segmentSize) - within);
        const char* from = inTag ? &segment.tag[within] : &source.bytes[segment.start + within - tagSize];
        std::memcpy(into.data(), from, count);
        into = into.subspan(count);
        offset += count;
    }
}

}  // namespace

Content::Content(std::uint64_t seed, std::uint64_t size, std::shared_ptr<const std::string> bytes)
    : seed_(seed), size_(size), bytes_(std::move(bytes)) {}

Content Content::generated(std::uint64_t seed, std::uint64_t size) {
    return {seed, size, nullptr};
}

Content Content::stored(std::shared_ptr<const std::string> bytes) {
    const std::uint64_t size = bytes->size();
    return {0, size, std::move(bytes)};
}

void Content::read(std::uint64_t offset, std::span<char> into) const {
    assert(offset <= size_ && into.size() <= size_ - offset);
    if (bytes_) {
        std::copy_n(bytes_->data() + offset, into.size(), into.data());
    } else {
        readGenerated(seed_, offset, into);
    }
}

std::uint32_t Content::crc32() const {
    if (bytes_) return libdeflate_crc32(0, bytes_->data(), bytes_->size());
    const Noise& source = noise();
    std::uint32_t crc = 0;
    const std::uint64_t wholeSegments = size_ / segmentSize;
    for (std::uint64_t index = 0; index < wholeSegments; ++index) {
        const Segment segment = segmentAt(seed_, index);
        crc = libdeflate_crc32(crc, segment.tag.data(), tagSize);
        // The slice's own CRC is that of the noise up to its end without what came before its start.
        crc = source.advance(crc ^ source.crcBefore[segment.start / granule]) ^
              source.crcBefore[(segment.start + sliceSize) / granule];
    }
    std::vector<char> rest(static_cast<std::size_t>(size_ % segmentSize));
    readGenerated(seed_, wholeSegments * segmentSize, rest);
    // Without bytes the library would start anew.
    return rest.empty() ? crc : libdeflate_crc32(crc, rest.data(), rest.size());
}

}  // namespace tovri::sandbox
