#pragma once

#include <chrono>
#include <memory>
#include <stop_token>

#include "base/Result.h"
#include "platform/CredentialStore.h"

namespace tovri {

// Secrets in the desktop's keyring, through the Secret Service (freedesktop.org), in its default collection. Every
// operation asks the service and waits for it, but never longer than the limit: then a value counts as absent, or is
// not kept.
class SecretServiceCredentialStore final : public CredentialStore {
public:
    struct Limits {
        std::chrono::milliseconds answer{3000};  // for the service to come up, and for each operation
        std::chrono::milliseconds unlock{5000};  // for a locked collection to be opened; a person types in that time
    };

    // Fails, with the reason, when no service answers or its collection stays locked; at once on a stop.
    [[nodiscard]] static Result<std::unique_ptr<SecretServiceCredentialStore>> open(Limits limits,
                                                                                    const std::stop_token& stop = {});

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override;
    void save(const std::string& account, const std::string& value) override;
    void remove(const std::string& account) override;

private:
    explicit SecretServiceCredentialStore(Limits limits) : limits_(limits) {}

    Limits limits_;
};

}  // namespace tovri
