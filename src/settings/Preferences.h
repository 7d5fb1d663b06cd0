#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Bytes.h"
#include "base/Signal.h"
#include "platform/FolderAccess.h"
#include "platform/UserDefaults.h"
#include "settings/ConflictBehavior.h"

namespace tovri {

// The user's settings. Read once, at construction; every assignment is written through to the user defaults at once,
// also one of an equal value. Assignments are not corrected, stored values are.
class Preferences {
public:
    enum class Field {
        defaultDownloadPath,
        defaultDownloadBookmark,
        deleteAfterDownload,
        maxConcurrentDownloads,
        syncPollIntervalMinutes,
        conflictBehavior,
    };

    // `defaults` and `folderAccess` outlive the preferences.
    Preferences(UserDefaults& defaults, FolderAccess& folderAccess, const std::filesystem::path& home);

    // Where downloads go that were given no folder of their own.
    [[nodiscard]] const std::string& defaultDownloadPath() const { return defaultDownloadPath_; }

    // None when the user never chose a folder, or no bookmark could be made of it.
    [[nodiscard]] const std::optional<ByteBlob>& defaultDownloadBookmark() const { return defaultDownloadBookmark_; }

    // Whether files go from put.io once they have arrived.
    [[nodiscard]] bool deleteAfterDownload() const { return deleteAfterDownload_; }

    [[nodiscard]] std::int64_t maxConcurrentDownloads() const { return maxConcurrentDownloads_; }

    // How often a new automation rule looks, in minutes.
    [[nodiscard]] std::int64_t syncPollIntervalMinutes() const { return syncPollIntervalMinutes_; }

    [[nodiscard]] ConflictBehavior conflictBehavior() const { return conflictBehavior_; }

    void setDefaultDownloadPath(std::string path);
    void setDefaultDownloadBookmark(std::optional<ByteBlob> bookmark);
    void setDeleteAfterDownload(bool deletes);
    void setMaxConcurrentDownloads(std::int64_t limit);
    void setSyncPollIntervalMinutes(std::int64_t minutes);
    void setConflictBehavior(ConflictBehavior behavior);

    // The folder that the bookmark leads to, else the default download path.
    [[nodiscard]] std::filesystem::path downloadFolderURL() const;

    // Makes a stale bookmark anew and follows its folder. For the start of the program.
    void refreshDownloadFolderBookmark();

    // The user picked a folder.
    void setDownloadFolder(const std::filesystem::path& folder);

    // Told after the value was stored, only when it differs.
    Subscription onChange(std::function<void(Field)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    template <class T>
    struct Setting;
    struct Settings;

    template <class T>
    void load(const Setting<T>& setting);

    template <class T>
    void assign(const Setting<T>& setting, T value);

    UserDefaults& defaults_;
    FolderAccess& folderAccess_;
    std::string defaultDownloadPath_;
    std::optional<ByteBlob> defaultDownloadBookmark_;
    bool deleteAfterDownload_ = false;
    std::int64_t maxConcurrentDownloads_ = 3;
    std::int64_t syncPollIntervalMinutes_ = 5;
    ConflictBehavior conflictBehavior_ = ConflictBehavior::keepBoth;
    Signal<Field> changes_;
};

}  // namespace tovri
