#include <gtest/gtest.h>

#include "service/signin/SignInRedirect.h"

namespace tovri {
namespace {

TEST(SignInRedirect, isOneAddressAlone) {
    struct Case {
        const char* address;
        bool isRedirect;
    };

    const Case cases[] = {
        {"tovri-putio://callback#access_token=abc", true},
        {"tovri-putio://callback?error=late", true},
        {"Tovri-PutIO://Callback#access_token=abc", true},
        {"tovri-putio://callback", true},
        {"tovri-putio://callback.example.com#access_token=abc", false},  // another host
        {"tovri-putio://callback/x#access_token=abc", false},
        {"tovri-putio://other#access_token=abc", false},
        {"tovri-putio:callback#access_token=abc", false},
        {"https://callback#access_token=abc", false},
        {" tovri-putio://callback#access_token=abc", false},
        {"", false},
    };
    for (const Case& c : cases) EXPECT_EQ(isSignInRedirect(c.address), c.isRedirect) << c.address;
}

TEST(SignInRedirect, tokensStandInAHeader) {
    EXPECT_TRUE(isAccessToken("AbC-_~+/=%20"));
    for (const char* text : {"", " ", "a b", "a\nb", "a\r\nX: y", "a\x7F", "caf\xC3\xA9"})
        EXPECT_FALSE(isAccessToken(text)) << text;
    EXPECT_FALSE(isAccessToken(std::string_view("a\0b", 3)));
}

}  // namespace
}  // namespace tovri
