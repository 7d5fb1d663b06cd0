#include <string>

#include <gtest/gtest.h>

#include "base/Trimmed.h"

namespace tovri {
namespace {

TEST(Trimmed, takesWhatUnicodeCallsWhiteSpaceOffBothEnds) {
    EXPECT_EQ(trimmed(" \t\xC2\xA0\xE3\x80\x80 a \xE2\x80\xA8 b\xE2\x80\x89\r\n\xC2\x85"), "a \xE2\x80\xA8 b");
    EXPECT_EQ(trimmed("\xE2\x80\x80\xE2\x80\xAF"), "");
    for (const char* kept : {"", "\x80", "\xA0", "\xE2\x80", "\xE2\x80\x8B", "\xC3\x85"})  // no white space, or no text
        EXPECT_EQ(trimmed(kept), kept);
}

}  // namespace
}  // namespace tovri
