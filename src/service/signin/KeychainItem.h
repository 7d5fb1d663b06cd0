#pragma once

#include <optional>
#include <string>

#include "platform/CredentialStore.h"

namespace tovri {

// The secrets that are kept across restarts.
enum class KeychainItem { accessToken, clientID };

[[nodiscard]] std::string accountName(KeychainItem item);

void save(CredentialStore& store, const std::string& value, KeychainItem item);

// None when nothing is stored, or nothing that is UTF-8.
[[nodiscard]] std::optional<std::string> load(CredentialStore& store, KeychainItem item);

void remove(CredentialStore& store, KeychainItem item);

}  // namespace tovri
