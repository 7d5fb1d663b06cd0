#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/CredentialStore.h"
#include "platform/UserDefaults.h"

namespace tovri::test {

class CredentialStoreContract : public testing::TestWithParam<std::function<std::unique_ptr<CredentialStore>()>> {
public:
    std::unique_ptr<CredentialStore> store = GetParam()();
};

TEST_P(CredentialStoreContract, keepsOneTextForEachAccount) {
    EXPECT_EQ(store->load("accessToken"), std::nullopt);
    store->remove("accessToken");
    store->save("accessToken", "first");
    store->save("accessToken", "TOKEN \"quoted\" \\ caf\xC3\xA9");
    store->save("clientID", "");
    EXPECT_EQ(store->load("accessToken"), "TOKEN \"quoted\" \\ caf\xC3\xA9");
    EXPECT_EQ(store->load("clientID"), "");
    store->remove("accessToken");
    EXPECT_EQ(store->load("accessToken"), std::nullopt);
    EXPECT_EQ(store->load("clientID"), "");
    store->remove("clientID");
}

class UserDefaultsContract : public testing::TestWithParam<std::function<std::unique_ptr<UserDefaults>()>> {
public:
    std::unique_ptr<UserDefaults> defaults = GetParam()();
};

TEST_P(UserDefaultsContract, keepsEachKindExactly) {
    using Limits = std::numeric_limits<std::int64_t>;
    const std::string bytes("\0\xFF\"{}\n", 6);
    for (const std::string& text : {std::string(), std::string("/home/caf\xC3\xA9 \"x\"/\\"), bytes}) {
        defaults->setString("text", text);
        EXPECT_EQ(defaults->string("text"), text);
        EXPECT_EQ(defaults->data("text"), std::nullopt);
        defaults->setData("data", text);
        EXPECT_EQ(defaults->data("data"), text);
        EXPECT_EQ(defaults->string("data"), std::nullopt);
    }
    for (const std::int64_t number : {std::int64_t{0}, Limits::min(), Limits::max()}) {
        defaults->setInteger("number", number);
        EXPECT_EQ(defaults->integer("number"), number);
    }
    defaults->setBoolean("flag", true);
    EXPECT_EQ(defaults->boolean("flag"), true);
    EXPECT_EQ(defaults->integer("flag"), std::nullopt);
    EXPECT_EQ(defaults->boolean("number"), std::nullopt);

    defaults->setString("flag", "now a text");
    EXPECT_EQ(defaults->boolean("flag"), std::nullopt);
    defaults->remove("flag");
    EXPECT_EQ(defaults->string("flag"), std::nullopt);
}

}  // namespace tovri::test
