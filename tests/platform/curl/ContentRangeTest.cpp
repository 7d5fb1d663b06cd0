#include <gtest/gtest.h>

#include "platform/curl/answers/ContentRange.h"

namespace tovri {

TEST(ContentRange, acceptsOnlyConsistentRanges) {
    struct Case {
        const char* header = "";
        std::optional<ContentRange> expected;
    };

    const Case cases[] = {
        {"bytes 0-99/100", ContentRange{0, 99, 100}},
        {"Bytes 7-7/8", ContentRange{7, 7, 8}},
        {"bytes 0-9223372036854775806/9223372036854775807", ContentRange{0, 9223372036854775806, 9223372036854775807}},
        {"bytes 0-100/100", std::nullopt},                  // past the end
        {"bytes 9-3/100", std::nullopt},                    // backwards
        {"bytes 0-99/99999999999999999999", std::nullopt},  // more than 63 bits
        {"bytes 0-99/*", std::nullopt},                     // of unknown length
        {"bytes */100", std::nullopt},                      // a refusal
        {"bytes -5-9/100", std::nullopt},
        {"bytes +5-9/100", std::nullopt},
        {"bytes 5 - 9/100", std::nullopt},
        {"bytes 0x0-9/100", std::nullopt},
        {"bytes 0/5-9", std::nullopt},
        {"bytes 0-9/100, 20-29/100", std::nullopt},
        {"items 0-9/100", std::nullopt},
        {"bytes", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.header);
        EXPECT_EQ(parseContentRange(c.header), c.expected);
    }
}

}  // namespace tovri
