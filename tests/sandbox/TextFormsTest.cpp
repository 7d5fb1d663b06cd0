#include <string>

#include <gtest/gtest.h>

#include "sandbox/ByteSize.h"
#include "sandbox/api/Fields.h"
#include "sandbox/faults/FaultSettings.h"
#include "sandbox/http/ByteRange.h"

namespace tovri::sandbox {
namespace {

TEST(ByteSize, readsUnitsAndRefusesTheRest) {
    struct Case {
        const char* text = "";
        std::optional<std::uint64_t> expected;
    };

    const Case cases[] = {
        {"0", 0},
        {"1500", 1500},
        {"64KiB", 65536},
        {"2G", 2147483648},
        {"1.5 MB", 1500000},
        {"", std::nullopt},
        {"-1", std::nullopt},
        {"nan", std::nullopt},
        {"5Q", std::nullopt},
        {"1e30", std::nullopt},
        {"99999999T", std::nullopt},  // more than 64 bits
    };
    for (const Case& c : cases) EXPECT_EQ(parseByteSize(c.text), c.expected) << c.text;
}

TEST(ByteRange, followsTheRulesForOneRange) {
    const RangeWish whole;
    const RangeWish impossible{.isSatisfiable = false, .range = {}};

    struct Case {
        const char* header = "";
        std::uint64_t size = 0;
        RangeWish expected;
    };

    const Case cases[] = {
        {"", 10, whole},
        {"bytes=0-9", 10, {.range = ByteRange{0, 10}}},
        {"bytes=3-", 10, {.range = ByteRange{3, 7}}},
        {"bytes=9-100", 10, {.range = ByteRange{9, 1}}},  // ends with the file
        {"bytes=-4", 10, {.range = ByteRange{6, 4}}},
        {"bytes=-40", 10, {.range = ByteRange{0, 10}}},
        {"bytes=10-", 10, impossible},
        {"bytes=0-", 0, impossible},
        {"bytes=-0", 10, impossible},
        {"bytes=5-3", 10, whole},  // malformed counts as absent
        {"bytes=0-1,4-5", 10, whole},
        {"lines=0-1", 10, whole},
        {"bytes=x-", 10, whole},
    };
    for (const Case& c : cases) EXPECT_EQ(parseRange(c.header, c.size), c.expected) << c.header;
}

TEST(Fields, areDecodedAsFormsAre) {
    const Fields fields = parseFields("a=1%2B1&b=x+y&empty=&bare&&bad=%zz%4");
    EXPECT_EQ(fields, (Fields{{"a", "1+1"}, {"b", "x y"}, {"empty", ""}, {"bare", ""}, {"bad", "%zz%4"}}));
    const std::string odd("a/b ..%\xc3\xa9\0'", 11);
    EXPECT_EQ(percentDecode(percentEncode(odd)), odd);
}

TEST(Fault, isReadWithPatternsThatHoldColonsAndCommas) {
    const auto fault = parseFault("storage:Part 1: a, b.mkv:cut=1KiB,times=2,redirect=http://127.0.0.1:1/x");
    ASSERT_TRUE(fault) << fault.error();
    EXPECT_EQ(fault->role, Role::storage);
    EXPECT_EQ(fault->pattern, "Part 1: a, b.mkv");
    EXPECT_EQ(fault->cut, 1024U);
    EXPECT_EQ(fault->times, 2U);
    EXPECT_EQ(fault->redirect, "http://127.0.0.1:1/x");
    for (const char* wrong : {"", "storage", "storage:x", "nowhere:x:drop", "storage:x:cut=", "storage:x:status=9",
                              "storage:x:drop,colour=red", "storage:x:rate=0"}) {
        EXPECT_FALSE(parseFault(wrong)) << wrong;
    }
}

}  // namespace
}  // namespace tovri::sandbox
