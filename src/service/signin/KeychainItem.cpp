#include "service/signin/KeychainItem.h"

#include "service/requests/UTF8.h"

namespace tovri {

std::string accountName(KeychainItem item) {
    return item == KeychainItem::accessToken ? "accessToken" : "clientID";
}

void save(CredentialStore& store, const std::string& value, KeychainItem item) {
    store.save(accountName(item), value);
}

std::optional<std::string> load(CredentialStore& store, KeychainItem item) {
    std::optional<std::string> value = store.load(accountName(item));
    if (value && !isUTF8(*value)) return std::nullopt;
    return value;
}

void remove(CredentialStore& store, KeychainItem item) {
    store.remove(accountName(item));
}

}  // namespace tovri
