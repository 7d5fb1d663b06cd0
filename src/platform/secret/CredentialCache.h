#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stop_token>
#include <string>
#include <thread>
#include <vector>

#include "platform/CredentialStore.h"
#include "platform/MainLoop.h"

namespace tovri {

// Secrets in front of a store that may answer late, or wait for a person: its values are read once, on a thread, and
// from then on loaded from memory. What is saved or removed counts at once and reaches the store later, in that order.
class CredentialCache final : public CredentialStore {
public:
    // Runs on the thread. A requested stop asks it for a store that waits for nobody.
    using Open = std::move_only_function<std::unique_ptr<CredentialStore>(const std::stop_token&)>;

    // `ready` runs on the main thread once the values of the accounts are there; up to then they count as absent.
    // `loop` outlives the cache.
    CredentialCache(MainLoop& loop, Open open, std::vector<std::string> accounts, std::function<void()> ready);

    // Returns when the store has all that was saved.
    ~CredentialCache() override;

    // Does not wait for a person any longer.
    void hurry() { thread_.request_stop(); }

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override;
    void readAnew(const std::string& account, Loaded done) override;
    void save(const std::string& account, const std::string& value) override;
    void remove(const std::string& account) override;

private:
    using Job = std::move_only_function<void(CredentialStore&)>;
    using Values = std::map<std::string, std::optional<std::string>>;  // none: was removed

    void work(const std::stop_token& stop, Open open, const std::vector<std::string>& accounts);
    void adopt(Values values);
    void later(Job job);

    MainLoop& loop_;
    std::function<void()> ready_;
    Values values_;
    std::shared_ptr<CredentialCache*> self_ = std::make_shared<CredentialCache*>(this);  // for what is posted
    std::mutex mutex_;                                                                   // guards the two that follow
    std::deque<Job> jobs_;
    bool isEnding_ = false;
    std::condition_variable changed_;
    std::jthread thread_;
};

}  // namespace tovri
