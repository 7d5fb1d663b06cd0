#include <future>
#include <stop_token>

#include <gtest/gtest.h>

#include "platform/secret/CredentialCache.h"
#include "support/ComesTrue.h"
#include "support/HandRunLoop.h"
#include "support/MemoryStores.h"

namespace tovri::test {
namespace {

// Keeps everything in `kept`, which outlives the store. Changes nothing before the cache is in a hurry.
class LateStore final : public CredentialStore {
public:
    LateStore(MemoryCredentialStore& kept, std::stop_token hurry) : kept_(kept), hurry_(std::move(hurry)) {}

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override { return kept_.load(account); }

    void save(const std::string& account, const std::string& value) override {
        waitForHurry();
        kept_.save(account, value);
    }

    void remove(const std::string& account) override {
        waitForHurry();
        kept_.remove(account);
    }

private:
    void waitForHurry() const {
        EXPECT_TRUE(comesTrue([this] { return hurry_.stop_requested(); }));
    }

    MemoryCredentialStore& kept_;
    std::stop_token hurry_;
};

const std::vector<std::string> accounts = {"accessToken", "clientID"};

class CredentialCacheTest : public testing::Test {
public:
    CredentialCache::Open opensAtOnce() {
        return [this](const std::stop_token& hurry) { return std::make_unique<LateStore>(kept, hurry); };
    }

    CredentialCache::Open opensWhenTold(std::shared_future<void> told) {
        return [this, told = std::move(told)](const std::stop_token& hurry) {
            EXPECT_EQ(told.wait_for(patience), std::future_status::ready);
            return std::make_unique<LateStore>(kept, hurry);
        };
    }

    void waitUntilReady() {
        ASSERT_TRUE(loop.waitForPost());
        loop.runPosted();
        EXPECT_TRUE(isReady);
    }

    HandRunLoop loop;
    MemoryCredentialStore kept;
    bool isReady = false;
    std::function<void()> ready = [this] { isReady = true; };
};

TEST_F(CredentialCacheTest, handsOutWhatWasKeptAndKeepsWhatChangesInItsOrder) {
    kept.values = {{"accessToken", "OLD"}, {"clientID", "123"}};
    {
        CredentialCache cache(loop, opensAtOnce(), accounts, ready);
        waitUntilReady();
        EXPECT_EQ(cache.load("accessToken"), "OLD");
        EXPECT_EQ(cache.load("clientID"), "123");
        cache.remove("accessToken");
        cache.save("accessToken", "FIRST");
        cache.save("accessToken", "LAST");
        cache.remove("clientID");
        EXPECT_EQ(cache.load("accessToken"), "LAST");
        EXPECT_EQ(cache.load("clientID"), std::nullopt);
    }
    EXPECT_EQ(kept.values, (std::map<std::string, std::string>{{"accessToken", "LAST"}}));
}

TEST_F(CredentialCacheTest, readsAnewWhatAnotherProcessHasStored) {
    kept.values = {{"accessToken", "OLD"}};
    CredentialCache cache(loop, opensAtOnce(), accounts, ready);
    waitUntilReady();
    kept.values["accessToken"] = "NEW";
    EXPECT_EQ(cache.load("accessToken"), "OLD");
    std::optional<std::string> read;
    cache.readAnew("accessToken", [&](std::optional<std::string> value) { read = std::move(value); });
    ASSERT_TRUE(loop.waitForPost());
    loop.runPosted();
    EXPECT_EQ(read, "NEW");
    EXPECT_EQ(cache.load("accessToken"), "NEW");
}

TEST_F(CredentialCacheTest, neitherWaitsForAStoreThatIsLateNorTakesItsWordForWhatChangedMeanwhile) {
    kept.values = {{"accessToken", "OLD"}, {"clientID", "OLD"}};
    std::promise<void> open;
    {
        CredentialCache cache(loop, opensWhenTold(open.get_future().share()), accounts, ready);
        EXPECT_EQ(cache.load("accessToken"), std::nullopt);
        cache.save("accessToken", "NEW");
        cache.remove("clientID");
        EXPECT_FALSE(isReady);
        open.set_value();
        waitUntilReady();
        EXPECT_EQ(cache.load("accessToken"), "NEW");
        EXPECT_EQ(cache.load("clientID"), std::nullopt);
    }
    EXPECT_EQ(kept.values, (std::map<std::string, std::string>{{"accessToken", "NEW"}}));
}

TEST_F(CredentialCacheTest, canBeHurriedAndLeftWhileSomebodyIsAskedForAPassword) {
    const auto waitsForSomebody = [this](const std::stop_token& hurry) {
        EXPECT_TRUE(comesTrue([&] { return hurry.stop_requested(); }));
        return std::make_unique<LateStore>(kept, hurry);
    };
    {
        CredentialCache cache(loop, waitsForSomebody, accounts, ready);
        cache.hurry();
        waitUntilReady();
    }
    isReady = false;
    {
        const CredentialCache cache(loop, waitsForSomebody, accounts, ready);
    }
    loop.runPosted();
    EXPECT_FALSE(isReady);
}

}  // namespace
}  // namespace tovri::test
