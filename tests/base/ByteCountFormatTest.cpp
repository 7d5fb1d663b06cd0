#include <limits>

#include <gtest/gtest.h>

#include "base/ByteCountFormat.h"

namespace tovri {
namespace {

TEST(ByteCountFormat, choosesUnitAndFractionAsPeopleRead) {
    struct Case {
        ByteCount count;
        const char* text;
    };

    const Case cases[] = {
        {0, "0 bytes"},
        {1, "1 byte"},
        {999, "999 bytes"},
        {1'000, "1 KB"},
        {1'499, "1 KB"},
        {1'500, "2 KB"},
        {999'499, "999 KB"},
        {999'500, "1 MB"},  // rounding carries into the next unit
        {1'234'567, "1.2 MB"},
        {34'500'000, "34.5 MB"},
        {2'000'000, "2 MB"},
        {999'950'000, "1 GB"},
        {1'250'000'000, "1.25 GB"},
        {1'203'000'000, "1.2 GB"},
        {1'050'000'000, "1.05 GB"},  // the zero before the last digit stays
        {3'000'000'000'000, "3 TB"},
        {std::numeric_limits<ByteCount>::max(), "9.22 EB"},
        {std::numeric_limits<ByteCount>::min(), "–"},
    };
    for (const Case& c : cases) EXPECT_EQ(formatByteCount(c.count), c.text) << c.count;
}

}  // namespace
}  // namespace tovri
