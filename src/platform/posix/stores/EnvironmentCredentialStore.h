#pragma once

#include "platform/CredentialStore.h"

namespace tovri {

// Puts the access token of the environment before the stored one. It is never written down, and taking the account's
// secret away drops it from memory and leaves the stored one alone. Everything else goes to the store beneath.
class EnvironmentCredentialStore final : public CredentialStore {
public:
    // `stored` outlives this. `token` is the environment's, none or empty when it has none.
    EnvironmentCredentialStore(CredentialStore& stored, std::optional<std::string> token);

    // The value of TOVRI_TOKEN.
    [[nodiscard]] static std::optional<std::string> tokenOfEnvironment();

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override;
    void readAnew(const std::string& account, Loaded done) override;
    void save(const std::string& account, const std::string& value) override;
    void remove(const std::string& account) override;

private:
    CredentialStore& stored_;
    std::optional<std::string> token_;
    bool isSignedOut_ = false;  // the environment's token was dropped; the stored one is not to come up in its stead
};

}  // namespace tovri
