#include <future>
#include <thread>

#include <gtest/gtest.h>

#include "platform/secret/CredentialCache.h"
#include "support/HandRunLoop.h"
#include "support/MemoryStores.h"

namespace tovri::test {
namespace {

// Keeps everything in `kept`, which outlives the store, and takes its time.
class SlowStore final : public CredentialStore {
public:
    explicit SlowStore(MemoryCredentialStore& kept) : kept_(kept) {}

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override {
        linger();
        return kept_.load(account);
    }

    void save(const std::string& account, const std::string& value) override {
        linger();
        kept_.save(account, value);
    }

    void remove(const std::string& account) override {
        linger();
        kept_.remove(account);
    }

private:
    static void linger() { std::this_thread::sleep_for(std::chrono::milliseconds(2)); }

    MemoryCredentialStore& kept_;
};

const std::vector<std::string> accounts = {"accessToken", "clientID"};

class CredentialCacheTest : public testing::Test {
public:
    CredentialCache::Open opensAtOnce() {
        return [this](const std::stop_token&) { return std::make_unique<SlowStore>(kept); };
    }

    CredentialCache::Open opensWhenTold(std::shared_future<void> told) {
        return [this, told = std::move(told)](const std::stop_token&) {
            told.wait();
            return std::make_unique<SlowStore>(kept);
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
    const auto waitsForSomebody = [this](const std::stop_token& stop) {
        while (!stop.stop_requested()) std::this_thread::yield();
        return std::make_unique<SlowStore>(kept);
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
