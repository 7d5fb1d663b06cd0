#pragma once

#include <functional>
#include <optional>
#include <string>

namespace tovri {

// Keeps the user's secrets, one text per account name, under this program's service name "com.tovri.putio". Silent: a
// value that cannot be kept is lost at the end of the process, one that cannot be read counts as absent.
class CredentialStore {
public:
    virtual ~CredentialStore() = default;

    [[nodiscard]] virtual std::optional<std::string> load(const std::string& account) = 0;

    // The same as it is stored at this moment, where `load` may know it from before. `done` runs on the main thread,
    // perhaps at once; not at all where the store goes first.
    using Loaded = std::move_only_function<void(std::optional<std::string>)>;

    virtual void readAnew(const std::string& account, Loaded done) { done(load(account)); }

    virtual void save(const std::string& account, const std::string& value) = 0;
    virtual void remove(const std::string& account) = 0;
};

}  // namespace tovri
