#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Signal.h"
#include "platform/FolderAccess.h"
#include "platform/UserDefaults.h"
#include "settings/PreferenceTable.h"

namespace tovri {

// The user's settings. Read once, at construction; every assignment is written through to the user defaults at once,
// also one of an equal value. Assignments are not corrected, stored values are.
class Preferences {
public:
    // `defaults` and `folderAccess` outlive the preferences.
    Preferences(UserDefaults& defaults, FolderAccess& folderAccess, const std::filesystem::path& home);

    template <class T>
    [[nodiscard]] const T& value(const Preference<T>& preference) const {
        return values_.*preference.value;
    }

    template <class T>
    void assign(const Preference<T>& preference, T value);

    [[nodiscard]] const std::string& defaultDownloadPath() const { return values_.defaultDownloadPath; }

    // None when the user never chose a folder, or no bookmark could be made of it.
    [[nodiscard]] const std::optional<ByteBlob>& defaultDownloadBookmark() const {
        return values_.defaultDownloadBookmark;
    }

    [[nodiscard]] bool deleteAfterDownload() const { return values_.deleteAfterDownload; }

    [[nodiscard]] std::int64_t maxConcurrentDownloads() const { return values_.maxConcurrentDownloads; }

    [[nodiscard]] std::int64_t syncPollIntervalMinutes() const { return values_.syncPollIntervalMinutes; }

    [[nodiscard]] ConflictBehavior conflictBehavior() const { return values_.conflictBehavior; }

    [[nodiscard]] std::int64_t reservedMebibytes() const { return values_.reservedMebibytes; }

    [[nodiscard]] std::int64_t patienceMinutes() const { return values_.patienceMinutes; }

    [[nodiscard]] bool readLongFolders() const { return values_.readLongFolders; }

    void setDefaultDownloadPath(std::string path) { assign(preference::defaultDownloadPath, std::move(path)); }

    void setDefaultDownloadBookmark(std::optional<ByteBlob> bookmark) {
        assign(preference::defaultDownloadBookmark, std::move(bookmark));
    }

    void setDeleteAfterDownload(bool deletes) { assign(preference::deleteAfterDownload, deletes); }

    void setMaxConcurrentDownloads(std::int64_t limit) { assign(preference::maxConcurrentDownloads, limit); }

    void setSyncPollIntervalMinutes(std::int64_t minutes) { assign(preference::syncPollIntervalMinutes, minutes); }

    void setConflictBehavior(ConflictBehavior behavior) { assign(preference::conflictBehavior, behavior); }

    void setReservedMebibytes(std::int64_t reserve) { assign(preference::reservedMebibytes, reserve); }

    void setPatienceMinutes(std::int64_t minutes) { assign(preference::patienceMinutes, minutes); }

    void setReadLongFolders(bool reads) { assign(preference::readLongFolders, reads); }

    // The folder that the bookmark leads to, else the default download path.
    [[nodiscard]] std::filesystem::path downloadFolderURL() const;

    // Makes a stale bookmark anew and follows its folder. For the start of the program.
    void refreshDownloadFolderBookmark();

    // The user picked a folder.
    void setDownloadFolder(const std::filesystem::path& folder);

    // Told the preference's key after the value was stored, only when it differs.
    Subscription onChange(std::function<void(std::string_view)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    template <class T>
    void load(const Preference<T>& preference);

    UserDefaults& defaults_;
    FolderAccess& folderAccess_;
    std::filesystem::path home_;
    PreferenceValues values_;
    Signal<std::string_view> changes_;
};

}  // namespace tovri
