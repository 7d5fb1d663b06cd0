#include <cstdlib>

#include <gmock/gmock.h>

#include "platform/StoreContracts.h"
#include "platform/secret/ChooseCredentialStore.h"
#include "support/MemoryStores.h"

namespace tovri::test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

std::unique_ptr<CredentialStore> openKeyring() {
    auto opened = SecretServiceCredentialStore::open({});
    if (!opened) ADD_FAILURE() << opened.error().description;
    return opened ? std::move(*opened) : nullptr;
}

INSTANTIATE_TEST_SUITE_P(Keyring, CredentialStoreContract, testing::Values(openKeyring));

TEST(Keyring, keepsSecretsForTheNextProcessAndOutOfTheFallback) {
    MemoryCredentialStore fallback;
    const auto tell = [](const std::string& reason) { ADD_FAILURE() << reason; };
    chooseCredentialStore(fallback, tell)->save("clientID", "123");
    const auto store = chooseCredentialStore(fallback, tell);
    EXPECT_EQ(store->load("clientID"), "123");
    EXPECT_TRUE(fallback.values.empty());
}

// Nobody answers, or the keyring stays locked because nobody is there to open it.
TEST(WithoutKeyring, usesTheFallbackSoonAndSaysSoOnce) {
    MemoryCredentialStore fallback;
    std::vector<std::string> told;
    const auto tell = [&](const std::string& reason) { told.push_back(reason); };
    const auto start = std::chrono::steady_clock::now();
    const auto store = chooseCredentialStore(fallback, tell, {milliseconds(2000), milliseconds(500)});
    EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(5000));
    EXPECT_EQ(store->load("accessToken"), std::nullopt);
    EXPECT_TRUE(told.empty());

    store->save("clientID", "123");
    store->save("accessToken", "TOKEN");
    EXPECT_EQ(fallback.values["accessToken"], "TOKEN");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told.front(), HasSubstr("The Secret Service cannot be used: "));
    EXPECT_THAT(told.front(), HasSubstr(std::getenv("TOVRI_EXPECTED_REASON")));
    EXPECT_THAT(told.front(), testing::Not(HasSubstr("TOKEN")));

    const auto next = chooseCredentialStore(fallback, tell, {milliseconds(2000), milliseconds(500)});
    next->save("accessToken", "OTHER");
    EXPECT_EQ(told.size(), 1U);
    next->remove("accessToken");
    EXPECT_EQ(fallback.load("accessToken"), std::nullopt);
}

}  // namespace
}  // namespace tovri::test
