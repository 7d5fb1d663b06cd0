#include <memory>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <libdeflate.h>

#include "sandbox/account/Content.h"

namespace tovri::sandbox {
namespace {

constexpr std::uint64_t kiB = 1024;

std::string bytes(const Content& content, std::uint64_t from, std::uint64_t count) {
    std::string read(static_cast<std::size_t>(count), '\0');
    content.read(from, read);
    return read;
}

// The CRC-32 is put together from parts that were computed before; sizes around its seams would show a wrong part.
TEST(Content, tellsTheTrueCRC32OfItsBytes) {
    for (const std::uint64_t size : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{16}, 64 * kiB - 1, 64 * kiB,
                                     64 * kiB + 1, 64 * kiB + 17, 1000 * kiB, 1000 * kiB + 123}) {
        SCOPED_TRACE(size);
        const Content content = Content::generated(42, size);
        const std::string all = bytes(content, 0, size);
        EXPECT_EQ(content.crc32(), libdeflate_crc32(0, all.data(), all.size()));
    }
    EXPECT_EQ(Content::stored(std::make_shared<const std::string>("123456789")).crc32(), 0xcbf43926);
}

TEST(Content, givesTheSameBytesHoweverARangeIsCut) {
    const std::uint64_t size = 300 * kiB + 5;
    const Content content = Content::generated(7, size);
    const std::string all = bytes(content, 0, size);
    for (const std::uint64_t from : {std::uint64_t{1}, std::uint64_t{15}, 64 * kiB - 1, 64 * kiB + 16, 200 * kiB + 3}) {
        for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{17}, 100 * kiB}) {
            ASSERT_EQ(bytes(content, from, count), all.substr(from, count)) << from << "+" << count;
        }
    }
    EXPECT_EQ(bytes(content, size, 0), "");
}

// A download that went on at a wrong place must not look right by chance.
TEST(Content, looksDifferentAtEveryOffsetAndInEveryFile) {
    const Content content = Content::generated(7, 4096 * kiB);
    const std::string piece = bytes(content, 128 * kiB, 64);
    for (const std::uint64_t off : {std::uint64_t{1}, std::uint64_t{8}, std::uint64_t{4096}, 64 * kiB, 512 * kiB}) {
        EXPECT_NE(bytes(content, 128 * kiB + off, 64), piece) << off;
        if (off <= 128 * kiB) EXPECT_NE(bytes(content, 128 * kiB - off, 64), piece) << off;
    }
    std::set<std::string> beginnings;
    for (std::uint64_t seed = 0; seed < 1000; ++seed) {
        beginnings.insert(bytes(Content::generated(seed, 4096 * kiB), 0, 16));
        beginnings.insert(bytes(Content::generated(seed, 4096 * kiB), 64 * kiB, 16));
    }
    EXPECT_EQ(beginnings.size(), 2000U);
}

}  // namespace
}  // namespace tovri::sandbox
