#pragma once

#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "platform/DiagnosticLog.h"
#include "platform/FileManager.h"
#include "platform/UserDefaults.h"
#include "platform/posix/stores/JSONObject.h"

namespace tovri {

// Settings in one JSON file, which is read at the start and again before each write: what another process or a person
// put there meanwhile stays, as do keys that nobody here knows. A file that cannot be read is reported, and kept under
// another name when the next write replaces it.
class FileUserDefaults final : public UserDefaults {
public:
    // `files` and `log` outlive this.
    FileUserDefaults(FileManager& files, DiagnosticLog& log, std::filesystem::path file);

    [[nodiscard]] std::optional<std::string> string(std::string_view key) override { return values_.string(key); }

    [[nodiscard]] std::optional<bool> boolean(std::string_view key) override { return values_.boolean(key); }

    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) override { return values_.integer(key); }

    [[nodiscard]] std::optional<ByteBlob> data(std::string_view key) override { return values_.data(key); }

    void setString(std::string_view key, std::string_view value) override;
    void setBoolean(std::string_view key, bool value) override;
    void setInteger(std::string_view key, std::int64_t value) override;
    void setData(std::string_view key, std::string_view bytes) override;
    void remove(std::string_view key) override;

    // Told why a change could not be written, as the user sees it. It counts all the same until the process ends, and
    // the next change tries to write it again.
    void onFailure(std::function<void(const std::string& reason)> tell) { tellFailure_ = std::move(tell); }

    // False while a change has not reached the file; the next write tries it again.
    [[nodiscard]] bool isSaved() const { return unsaved_.empty(); }

private:
    [[nodiscard]] std::optional<JSONObject> read();
    void write(std::string_view changed);
    void keepAside();

    FileManager& files_;
    DiagnosticLog& log_;
    std::filesystem::path file_;
    JSONObject values_;
    std::function<void(const std::string&)> tellFailure_;
    std::set<std::string> unsaved_;  // keys whose change has not reached the file
};

}  // namespace tovri
