#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/secret/SecretServiceCredentialStore.h"

namespace tovri {

// The Secret Service where one answers, else a store that keeps everything in `fallback`, which outlives it.
//
// `tell` gets the reason when the fallback is used for keeping a secret where it had none: so a person hears of it
// once, at the time of the sign-in that it is about, and never in the runs that follow. It may be empty. A stop ends
// the wait for the service in favour of the fallback.
[[nodiscard]] std::unique_ptr<CredentialStore> chooseCredentialStore(
    CredentialStore& fallback, std::function<void(const std::string& reason)> tell,
    SecretServiceCredentialStore::Limits limits = {}, const std::stop_token& stop = {});

}  // namespace tovri
