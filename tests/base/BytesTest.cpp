#include <gtest/gtest.h>

#include "base/Bytes.h"
#include "base/UUID.h"

namespace tovri::test {
namespace {

TEST(Base64, carriesEveryByteAndLength) {
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        EXPECT_EQ(base64Decoded(base64Encoded(bytes)), bytes);
        bytes += static_cast<char>(i * 7);
    }
    // RFC 4648, section 10.
    EXPECT_EQ(base64Encoded("foob"), "Zm9vYg==");
    EXPECT_EQ(base64Encoded("fooba"), "Zm9vYmE=");
    EXPECT_EQ(base64Encoded("\xFB\xFF"), "+/8=");
}

TEST(Base64, refusesWhatIsNotWellFormed) {
    for (const char* text : {"Zg", "Zg=", "Z===", "====", "=Zg=", "Zg==Zg==", "Zm9v\n", "Zm-_", "Zm9 ", "Z\xFFg="})
        EXPECT_EQ(base64Decoded(text), std::nullopt) << text;
    EXPECT_EQ(base64Decoded(""), "");
}

TEST(UUID, readsBothCasesAndWritesUpperCase) {
    const auto id = UUID::parse("0123abcd-EF45-6789-abcd-EF0123456789");
    ASSERT_TRUE(id);
    EXPECT_EQ(id->text(), "0123ABCD-EF45-6789-ABCD-EF0123456789");
    for (const char* text : {"", "0123abcdEF456789abcdEF0123456789", "{0123abcd-EF45-6789-abcd-EF0123456789}",
                             "0123abcd-EF45-6789-abcd-EF012345678g", "0123abcd-EF45-6789-abcd-EF01234567890",
                             "0123abcdE-F45-6789-abcd-EF0123456789"})
        EXPECT_FALSE(UUID::parse(text)) << text;
}

}  // namespace
}  // namespace tovri::test
