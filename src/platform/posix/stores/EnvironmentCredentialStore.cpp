#include "platform/posix/stores/EnvironmentCredentialStore.h"

#include <cstdlib>

namespace tovri {
namespace {

constexpr std::string_view tokenAccount = "accessToken";

}  // namespace

EnvironmentCredentialStore::EnvironmentCredentialStore(CredentialStore& stored, std::optional<std::string> token)
    : stored_(stored), token_(std::move(token)) {
    if (token_ && token_->empty()) token_.reset();
}

std::optional<std::string> EnvironmentCredentialStore::tokenOfEnvironment() {
    const char* const token = std::getenv("TOVRI_TOKEN");
    return token == nullptr ? std::nullopt : std::optional<std::string>(token);
}

std::optional<std::string> EnvironmentCredentialStore::load(const std::string& account) {
    if (account != tokenAccount) return stored_.load(account);
    if (isSignedOut_) return std::nullopt;
    return token_ ? token_ : stored_.load(account);
}

void EnvironmentCredentialStore::readAnew(const std::string& account, Loaded done) {
    if (account == tokenAccount && (isSignedOut_ || token_)) return done(load(account));
    stored_.readAnew(account, std::move(done));
}

void EnvironmentCredentialStore::save(const std::string& account, const std::string& value) {
    if (account == tokenAccount && value == token_) return;
    if (account == tokenAccount) isSignedOut_ = false;
    stored_.save(account, value);
}

void EnvironmentCredentialStore::remove(const std::string& account) {
    if (account != tokenAccount || !token_) {
        stored_.remove(account);
        return;
    }
    token_.reset();
    isSignedOut_ = true;
}

}  // namespace tovri
