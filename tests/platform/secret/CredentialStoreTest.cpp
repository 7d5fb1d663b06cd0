#include <chrono>
#include <cstdlib>
#include <string>

#include <gmock/gmock.h>

#include "platform/StoreContracts.h"
#include "platform/secret/ChooseCredentialStore.h"
#include "support/ComesTrue.h"
#include "support/MemoryStores.h"

namespace tovri::test {
namespace {

using std::chrono::seconds;
using testing::HasSubstr;

constexpr SecretServiceCredentialStore::Limits patient{.answer = patience, .unlock = patience};

std::unique_ptr<CredentialStore> openKeyring() {
    auto opened = SecretServiceCredentialStore::open(patient);
    if (!opened) ADD_FAILURE() << opened.error().description;
    return opened ? std::move(*opened) : nullptr;
}

INSTANTIATE_TEST_SUITE_P(Keyring, CredentialStoreContract, testing::Values(openKeyring));

TEST(Keyring, keepsSecretsForTheNextProcessAndOutOfTheFallback) {
    MemoryCredentialStore fallback;
    const auto tell = [](const std::string& reason) { ADD_FAILURE() << reason; };
    chooseCredentialStore(fallback, tell, patient)->save("clientID", "123");
    const auto store = chooseCredentialStore(fallback, tell, patient);
    EXPECT_EQ(store->load("clientID"), "123");
    EXPECT_TRUE(fallback.values.empty());
}

// Nobody answers, or the keyring stays locked because nobody is there to open it.
TEST(WithoutKeyring, usesTheFallbackSoonAndSaysSoOnce) {
    MemoryCredentialStore fallback;
    std::vector<std::string> told;
    const auto tell = [&](const std::string& reason) { told.push_back(reason); };
    const std::string reason = std::getenv("TOVRI_EXPECTED_REASON");
    const bool isMute = reason == "does not answer";
    const SecretServiceCredentialStore::Limits limits{.answer = isMute ? seconds(1) : patience, .unlock = seconds(1)};
    const auto start = std::chrono::steady_clock::now();
    const auto store = chooseCredentialStore(fallback, tell, limits);
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(20));  // the bus itself gives up after 25
    EXPECT_EQ(store->load("accessToken"), std::nullopt);
    EXPECT_TRUE(told.empty());

    store->save("clientID", "123");
    store->save("accessToken", "TOKEN");
    EXPECT_EQ(fallback.values["accessToken"], "TOKEN");
    ASSERT_EQ(told.size(), 1U);
    EXPECT_THAT(told.front(), HasSubstr("The Secret Service cannot be used: "));
    EXPECT_THAT(told.front(), HasSubstr(reason));
    EXPECT_THAT(told.front(), testing::Not(HasSubstr("TOKEN")));

    const auto next = chooseCredentialStore(fallback, tell, limits);
    next->save("accessToken", "OTHER");
    EXPECT_EQ(told.size(), 1U);
    next->remove("accessToken");
    EXPECT_EQ(fallback.load("accessToken"), std::nullopt);
}

}  // namespace
}  // namespace tovri::test
