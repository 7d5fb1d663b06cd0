#include "platform/secret/SecretServiceCredentialStore.h"

#include <condition_variable>
#include <mutex>
#include <thread>

#include <libsecret/secret.h>

namespace tovri {
namespace {

struct Unreference {
    void operator()(gpointer object) const { g_object_unref(object); }
};

template <class T>
using Reference = std::unique_ptr<T, Unreference>;

struct FreeSecret {
    void operator()(gchar* secret) const { secret_password_free(secret); }
};

// Cancels what is under way when the time is over, or when whoever waits gives up.
class Deadline {
public:
    explicit Deadline(std::chrono::milliseconds limit, std::stop_token given = {})
        : cancellable_(g_cancellable_new()), givenUp_(std::move(given), Cancel{cancellable_.get()}) {
        watchdog_ = std::jthread([this, limit](const std::stop_token& stop) {
            std::unique_lock lock(mutex_);
            over_.wait_for(lock, stop, limit, [] { return false; });
            if (!stop.stop_requested()) g_cancellable_cancel(cancellable_.get());
        });
    }

    [[nodiscard]] GCancellable* get() const { return cancellable_.get(); }

private:
    struct Cancel {
        GCancellable* cancellable;

        void operator()() const { g_cancellable_cancel(cancellable); }
    };

    Reference<GCancellable> cancellable_;
    std::stop_callback<Cancel> givenUp_;
    std::mutex mutex_;
    std::condition_variable_any over_;
    std::jthread watchdog_;
};

// The failure that a call left in `error`, which it takes over.
Error failureOf(GError* error) {
    const bool isLate = error != nullptr && g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != 0;
    const std::string reason = isLate ? "it does not answer" : error != nullptr ? error->message : "no reason given";
    g_clear_error(&error);
    return {ErrorCase::credentialStore, "The Secret Service cannot be used: " + reason + "."};
}

const SecretSchema& schema() {
    static const SecretSchema putIO = [] {
        SecretSchema schema{};
        schema.name = "com.tovri.putio";
        schema.attributes[0] = {"service", SECRET_SCHEMA_ATTRIBUTE_STRING};
        schema.attributes[1] = {"account", SECRET_SCHEMA_ATTRIBUTE_STRING};
        return schema;
    }();
    return putIO;
}

constexpr const char* serviceName = "com.tovri.putio";

Result<void> unlock(SecretService* service, SecretCollection* collection, std::chrono::milliseconds limit,
                    const std::stop_token& stop) {
    const Deadline deadline(limit, stop);
    GError* error = nullptr;
    GList only{collection, nullptr, nullptr};
    const gint unlocked = secret_service_unlock_sync(service, &only, deadline.get(), nullptr, &error);
    if (error != nullptr) {
        if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) == 0) return failure(failureOf(error));
        g_clear_error(&error);
    }
    if (unlocked > 0) return {};
    return failure({ErrorCase::credentialStore, "The Secret Service cannot be used: the keyring stays locked."});
}

}  // namespace

Result<std::unique_ptr<SecretServiceCredentialStore>> SecretServiceCredentialStore::open(Limits limits,
                                                                                         const std::stop_token& stop) {
    GError* error = nullptr;
    Reference<SecretService> service;
    Reference<SecretCollection> collection;
    {
        const Deadline deadline(limits.answer, stop);
        service.reset(secret_service_get_sync(SECRET_SERVICE_OPEN_SESSION, deadline.get(), &error));
        if (!service) return failure(failureOf(error));
        collection.reset(secret_collection_for_alias_sync(service.get(), SECRET_COLLECTION_DEFAULT,
                                                          SECRET_COLLECTION_NONE, deadline.get(), &error));
        if (error != nullptr) return failure(failureOf(error));
    }
    if (!collection)
        return failure({ErrorCase::credentialStore, "The Secret Service cannot be used: it has no default keyring."});
    if (secret_collection_get_locked(collection.get()) != 0) {
        if (auto opened = unlock(service.get(), collection.get(), limits.unlock, stop); !opened) return failure(opened);
    }
    return std::unique_ptr<SecretServiceCredentialStore>(new SecretServiceCredentialStore(limits));
}

std::optional<std::string> SecretServiceCredentialStore::load(const std::string& account) {
    const Deadline deadline(limits_.answer);
    GError* error = nullptr;
    const std::unique_ptr<gchar, FreeSecret> secret(secret_password_lookup_sync(
        &schema(), deadline.get(), &error, "service", serviceName, "account", account.c_str(), nullptr));
    g_clear_error(&error);
    if (!secret || g_utf8_validate(secret.get(), -1, nullptr) == 0) return std::nullopt;
    return secret.get();
}

void SecretServiceCredentialStore::save(const std::string& account, const std::string& value) {
    const Deadline deadline(limits_.answer);
    GError* error = nullptr;
    const std::string label = "Tovri: " + account + " of put.io";
    secret_password_store_sync(&schema(), SECRET_COLLECTION_DEFAULT, label.c_str(), value.c_str(), deadline.get(),
                               &error, "service", serviceName, "account", account.c_str(), nullptr);
    g_clear_error(&error);
}

void SecretServiceCredentialStore::remove(const std::string& account) {
    const Deadline deadline(limits_.answer);
    GError* error = nullptr;
    secret_password_clear_sync(&schema(), deadline.get(), &error, "service", serviceName, "account", account.c_str(),
                               nullptr);
    g_clear_error(&error);
}

}  // namespace tovri
