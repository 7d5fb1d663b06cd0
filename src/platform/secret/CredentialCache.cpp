#include "platform/secret/CredentialCache.h"

#include <utility>

namespace tovri {

CredentialCache::CredentialCache(MainLoop& loop, Open open, std::vector<std::string> accounts,
                                 std::function<void()> ready)
    : loop_(loop), ready_(std::move(ready)) {
    thread_ = std::jthread([this, open = std::move(open), accounts = std::move(accounts)](
                               const std::stop_token& stop) mutable { work(stop, std::move(open), accounts); });
}

CredentialCache::~CredentialCache() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_one();
    hurry();
    thread_.join();
}

std::optional<std::string> CredentialCache::load(const std::string& account) {
    const auto found = values_.find(account);
    return found == values_.end() ? std::nullopt : found->second;
}

// What is saved or removed while the store is being read is newer.
void CredentialCache::readAnew(const std::string& account, Loaded done) {
    auto adopt = [self = std::weak_ptr(self_), account, before = load(account),
                  done = std::move(done)](std::optional<std::string> value) mutable {
        const auto cache = self.lock();
        if (!cache) return;
        std::optional<std::string>& known = (*cache)->values_[account];
        if (known == before) known = std::move(value);
        done(known);
    };
    later([&loop = loop_, account, adopt = std::move(adopt)](CredentialStore& store) mutable {
        loop.post([adopt = std::move(adopt), value = store.load(account)]() mutable { adopt(std::move(value)); });
    });
}

void CredentialCache::save(const std::string& account, const std::string& value) {
    values_[account] = value;
    later([account, value](CredentialStore& store) { store.save(account, value); });
}

void CredentialCache::remove(const std::string& account) {
    values_[account] = std::nullopt;
    later([account](CredentialStore& store) { store.remove(account); });
}

void CredentialCache::later(Job job) {
    {
        const std::scoped_lock lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    changed_.notify_one();
}

void CredentialCache::work(const std::stop_token& stop, Open open, const std::vector<std::string>& accounts) {
    const std::unique_ptr<CredentialStore> store = open(stop);
    Values values;
    for (const std::string& account : accounts) values.emplace(account, store->load(account));
    loop_.post([self = std::weak_ptr(self_), values = std::move(values)]() mutable {
        if (const auto cache = self.lock()) (*cache)->adopt(std::move(values));
    });

    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return isEnding_ || !jobs_.empty(); });
        if (jobs_.empty()) return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job(*store);
        lock.lock();
    }
}

// What was saved or removed meanwhile is newer than what the store had.
void CredentialCache::adopt(Values values) {
    values_.merge(std::move(values));
    if (const auto ready = std::exchange(ready_, nullptr)) ready();
}

}  // namespace tovri
