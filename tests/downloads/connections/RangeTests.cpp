#include <algorithm>
#include <random>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/connections/ChecksumCombination.h"
#include "downloads/connections/RangePlan.h"
#include "downloads/connections/WrittenParts.h"

namespace tovri::test {
namespace {

constexpr ByteCount mebibyte = ByteCount{1} << 20U;

Checksum checksumOf(std::string_view bytes) {
    Checksum checksum;
    checksum.add(bytes);
    return checksum;
}

TEST(ChecksumCombination, givesTheChecksumOfTheWhole) {
    std::mt19937_64 numbers(7);
    std::string whole(70'000, '\0');
    for (char& byte : whole) byte = static_cast<char>(numbers());
    const std::string_view all = whole;
    for (const std::size_t middle : {0UL, 1UL, 3UL, 255UL, 65'536UL, 69'999UL, 70'000UL}) {
        SCOPED_TRACE(middle);
        const auto rest = static_cast<ByteCount>(all.size() - middle);
        EXPECT_EQ(combined(checksumOf(all.substr(0, middle)), checksumOf(all.substr(middle)), rest), checksumOf(all));
    }
    Checksum parts;
    for (std::size_t first = 0; first < all.size();) {
        const std::string_view part = all.substr(first, 1 + numbers() % 5'000);
        parts = combined(parts, checksumOf(part), static_cast<ByteCount>(part.size()));
        first += part.size();
    }
    EXPECT_EQ(parts, checksumOf(all));
}

TEST(ChecksumCombination, knowsLengthsPastFourGibibytes) {
    // Zeros, doubled until they are 8 GiB: once with what precedes each half, once by bytes in a row.
    const std::string zeros(1 << 20, '\0');
    const Checksum start = checksumOf("start");
    Checksum doubled = checksumOf(zeros);
    ByteCount length = mebibyte;
    for (; length < 8192 * mebibyte; length *= 2) doubled = combined(doubled, doubled, length);
    Checksum stepwise = start;
    for (ByteCount step = 0; step < 4; ++step) {
        Checksum quarter = checksumOf(zeros);
        for (ByteCount part = mebibyte; part < length / 4; part *= 2) quarter = combined(quarter, quarter, part);
        stepwise = combined(stepwise, quarter, length / 4);
    }
    EXPECT_EQ(combined(start, doubled, length), stepwise);
}

// Pieces of a file come in any order; what touches becomes one, with the checksum of its bytes.
TEST(WrittenParts, joinsWhatTouches) {
    const std::string whole = "abcdefghij";
    const auto piece = [&](std::size_t first, std::size_t end) {
        return WrittenPart{{static_cast<ByteCount>(first), static_cast<ByteCount>(end)},
                           checksumOf(whole.substr(first, end - first))};
    };
    WrittenParts parts({piece(2, 4)});
    parts.add(piece(6, 8));
    parts.add(piece(0, 1));
    EXPECT_EQ(parts.parts(), (std::vector{piece(0, 1), piece(2, 4), piece(6, 8)}));
    EXPECT_EQ(parts.missing(10), (std::vector<ByteRange>{{1, 2}, {4, 6}, {8, 10}}));
    parts.add(piece(4, 6));
    EXPECT_EQ(parts.parts(), (std::vector{piece(0, 1), piece(2, 8)}));
    EXPECT_EQ(parts.beginning(), piece(0, 1));
    parts.add(piece(1, 2));
    parts.add(piece(8, 10));
    EXPECT_EQ(parts.beginning(), piece(0, 10));
    EXPECT_EQ(parts.length(), 10);
    EXPECT_THAT(parts.missing(10), testing::IsEmpty());

    WrittenParts unknown({{{0, 4}, std::nullopt}});
    unknown.add(piece(4, 10));
    EXPECT_EQ(unknown.beginning(), (WrittenPart{{0, 10}, std::nullopt}));
    EXPECT_EQ(WrittenParts({piece(3, 5)}).beginning().range.length(), 0);
}

std::string text(const std::optional<RangePlan::Share>& share) {
    if (!share) return "none";
    return std::to_string(share->range.first / mebibyte) + "-" + std::to_string(share->range.end / mebibyte);
}

TEST(RangePlan, dividesTheLongestRestWhereNothingIsFree) {
    RangePlan plan({{0, 64 * mebibyte}});
    const auto first = plan.take();
    ASSERT_EQ(text(first), "0-64");
    plan.advance(first->number, 8 * mebibyte);
    const auto second = plan.take();
    EXPECT_EQ(text(second), "36-64");
    EXPECT_EQ(plan.rest(first->number), (ByteRange{8 * mebibyte, 36 * mebibyte}));
    plan.advance(second->number, 20 * mebibyte);
    EXPECT_EQ(text(plan.take()), "22-36");

    RangePlan small({{0, 3 * mebibyte}});
    ASSERT_TRUE(small.take());
    EXPECT_EQ(text(small.take()), "none");  // a request of its own for so little would not pay
}

TEST(RangePlan, takesTheLongestFreeRangeAndJoinsWhatIsGivenBack) {
    RangePlan plan({{0, mebibyte}, {10 * mebibyte, 20 * mebibyte}, {30 * mebibyte, 34 * mebibyte}});
    const auto longest = plan.take();
    ASSERT_EQ(text(longest), "10-20");
    const auto next = plan.take();
    ASSERT_EQ(text(next), "30-34");
    ASSERT_EQ(text(plan.take()), "0-1");
    const auto half = plan.take();
    ASSERT_EQ(text(half), "15-20");
    plan.advance(longest->number, 2 * mebibyte);
    plan.giveBack(longest->number);
    plan.giveBack(half->number);
    plan.giveBack(longest->number);  // a second time is nothing
    EXPECT_EQ(plan.rest(longest->number).length(), 0);
    EXPECT_EQ(text(plan.take()), "12-20");
}

// The request that is under way is for more than its share: a server that refuses ranges goes on undisturbed.
TEST(RangePlan, lengthensWhatReachesUpToWhatIsGivenBack) {
    RangePlan plan({{0, 64 * mebibyte}});
    const auto first = plan.take();
    const auto second = plan.take();
    const auto third = plan.take();
    ASSERT_EQ(text(second), "32-64");
    ASSERT_EQ(text(third), "16-32");
    plan.giveBack(second->number);
    EXPECT_EQ(plan.rest(third->number).end, 32 * mebibyte) << "it was not asked for more";
    plan.giveBack(third->number);
    EXPECT_EQ(plan.rest(first->number), (ByteRange{0, 64 * mebibyte}));
}

TEST(RangePlan, dividesNoFileOfUnknownLength) {
    RangePlan plan({{0, RangePlan::unknownEnd}});
    const auto first = plan.take();
    ASSERT_TRUE(first);
    EXPECT_FALSE(plan.take());
    plan.setLength(8 * mebibyte);
    EXPECT_EQ(text(plan.take()), "4-8");
}

// Connections come, go and divide at random; at the end each byte has come exactly once.
TEST(RangePlan, bringsEachByteOnce) {
    for (unsigned seed = 0; seed < 50; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 numbers(seed);
        constexpr ByteCount length = 60 * mebibyte;
        constexpr ByteCount step = mebibyte / 16;
        RangePlan plan({{0, length}});
        std::vector<int> came(length / step);
        std::vector<RangePlan::Number> connections;
        while (!plan.isDone()) {
            if (connections.size() < 6 && numbers() % 3 == 0)
                if (const auto share = plan.take()) connections.push_back(share->number);
            if (connections.empty()) continue;
            const auto place = numbers() % connections.size();
            const RangePlan::Number number = connections[place];
            const ByteRange rest = plan.rest(number);
            if (rest.length() <= 0 || numbers() % 40 == 0) {
                plan.giveBack(number);
                connections.erase(connections.begin() + static_cast<std::ptrdiff_t>(place));
                continue;
            }
            const ByteCount count = std::min(static_cast<ByteCount>(1 + numbers() % 8) * step, rest.length());
            for (ByteCount at = rest.first; at < rest.first + count; at += step)
                ++came[static_cast<std::size_t>(at / step)];
            plan.advance(number, count);
        }
        EXPECT_EQ(std::ranges::count(came, 1), std::ssize(came));
    }
}

}  // namespace
}  // namespace tovri::test
