#pragma once

#include <filesystem>

#include "platform/CredentialStore.h"
#include "platform/FileManager.h"
#include "platform/posix/stores/JSONObject.h"

namespace tovri {

// Secrets in a file that its owner alone can read, for systems without a secret service. A file that others can read is
// shut to them before it is used; one that belongs to another user, or is a link, counts as absent.
class FileCredentialStore final : public CredentialStore {
public:
    // `files` outlives this.
    FileCredentialStore(FileManager& files, std::filesystem::path file) : files_(files), file_(std::move(file)) {}

    [[nodiscard]] std::optional<std::string> load(const std::string& account) override;
    void save(const std::string& account, const std::string& value) override;
    void remove(const std::string& account) override;

private:
    [[nodiscard]] JSONObject read();
    void write(const JSONObject& secrets);

    FileManager& files_;
    std::filesystem::path file_;
};

}  // namespace tovri
