#include "platform/secret/ChooseCredentialStore.h"

#include <utility>

namespace tovri {
namespace {

class AnnouncedFallback final : public CredentialStore {
public:
    AnnouncedFallback(CredentialStore& fallback, std::string reason, std::function<void(const std::string&)> tell)
        : fallback_(fallback), reason_(std::move(reason)), tell_(std::move(tell)) {}

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override {
        return fallback_.load(account);
    }

    void save(const std::string& account, const std::string& value) override {
        const bool isNew = !fallback_.load(account);
        fallback_.save(account, value);
        if (const auto tell = isNew ? std::exchange(tell_, nullptr) : nullptr) tell(reason_);
    }

    void remove(const std::string& account) override { fallback_.remove(account); }

private:
    CredentialStore& fallback_;
    std::string reason_;
    std::function<void(const std::string&)> tell_;
};

}  // namespace

std::unique_ptr<CredentialStore> chooseCredentialStore(CredentialStore& fallback,
                                                       std::function<void(const std::string& reason)> tell,
                                                       SecretServiceCredentialStore::Limits limits,
                                                       const std::stop_token& stop) {
    auto service = SecretServiceCredentialStore::open(limits, stop);
    if (service) return std::move(*service);
    return std::make_unique<AnnouncedFallback>(fallback, std::move(service.error().description), std::move(tell));
}

}  // namespace tovri
