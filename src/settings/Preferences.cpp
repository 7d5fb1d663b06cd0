#include "settings/Preferences.h"

namespace tovri {
namespace {

// How each type of value stands in the user defaults.

void read(UserDefaults& defaults, std::string_view key, std::optional<std::string>& value) {
    value = defaults.string(key);
}

void read(UserDefaults& defaults, std::string_view key, std::optional<std::optional<ByteBlob>>& value) {
    if (auto data = defaults.data(key)) value.emplace(std::move(data));
}

void read(UserDefaults& defaults, std::string_view key, std::optional<bool>& value) {
    value = defaults.boolean(key);
}

void read(UserDefaults& defaults, std::string_view key, std::optional<std::int64_t>& value) {
    value = defaults.integer(key);
}

void read(UserDefaults& defaults, std::string_view key, std::optional<ConflictBehavior>& value) {
    if (const auto word = defaults.string(key)) value = conflictBehaviorOf(*word);
}

void write(UserDefaults& defaults, std::string_view key, const std::string& value) {
    defaults.setString(key, value);
}

void write(UserDefaults& defaults, std::string_view key, const std::optional<ByteBlob>& value) {
    if (value)
        defaults.setData(key, *value);
    else
        defaults.remove(key);
}

void write(UserDefaults& defaults, std::string_view key, bool value) {
    defaults.setBoolean(key, value);
}

void write(UserDefaults& defaults, std::string_view key, std::int64_t value) {
    defaults.setInteger(key, value);
}

void write(UserDefaults& defaults, std::string_view key, ConflictBehavior value) {
    defaults.setString(key, rawValue(value));
}

bool isPositive(const std::int64_t& value) {
    return value >= 1;
}

}  // namespace

template <class T>
struct Preferences::Setting {
    Field field{};
    std::string_view key;
    T Preferences::* member = nullptr;
    bool (*isAcceptable)(const T&) = nullptr;  // a stored value that is not gives way to the default
};

// One line per setting; the defaults stand at the members.
struct Preferences::Settings {
    static constexpr Setting<std::string> defaultDownloadPath{Field::defaultDownloadPath, "defaultDownloadPath",
                                                              &Preferences::defaultDownloadPath_};
    static constexpr Setting<std::optional<ByteBlob>> defaultDownloadBookmark{
        Field::defaultDownloadBookmark, "defaultDownloadBookmark", &Preferences::defaultDownloadBookmark_};
    static constexpr Setting<bool> deleteAfterDownload{Field::deleteAfterDownload, "deleteAfterDownload",
                                                       &Preferences::deleteAfterDownload_};
    static constexpr Setting<std::int64_t> maxConcurrentDownloads{
        Field::maxConcurrentDownloads, "maxConcurrentDownloads", &Preferences::maxConcurrentDownloads_, isPositive};
    static constexpr Setting<std::int64_t> syncPollIntervalMinutes{
        Field::syncPollIntervalMinutes, "syncPollIntervalMinutes", &Preferences::syncPollIntervalMinutes_, isPositive};
    static constexpr Setting<ConflictBehavior> conflictBehavior{Field::conflictBehavior, "conflictBehavior",
                                                                &Preferences::conflictBehavior_};
};

Preferences::Preferences(UserDefaults& defaults, FolderAccess& folderAccess, const std::filesystem::path& home)
    : defaults_(defaults), folderAccess_(folderAccess), defaultDownloadPath_(home.native() + "/Downloads") {
    load(Settings::defaultDownloadPath);
    load(Settings::defaultDownloadBookmark);
    load(Settings::deleteAfterDownload);
    load(Settings::maxConcurrentDownloads);
    load(Settings::syncPollIntervalMinutes);
    load(Settings::conflictBehavior);
}

template <class T>
void Preferences::load(const Setting<T>& setting) {
    std::optional<T> stored;
    read(defaults_, setting.key, stored);
    if (!stored || (setting.isAcceptable && !setting.isAcceptable(*stored))) return;
    this->*setting.member = std::move(*stored);
}

template <class T>
void Preferences::assign(const Setting<T>& setting, T value) {
    T& current = this->*setting.member;
    const bool differs = current != value;
    current = std::move(value);
    write(defaults_, setting.key, current);
    if (differs) changes_.tell(setting.field);
}

void Preferences::setDefaultDownloadPath(std::string path) {
    assign(Settings::defaultDownloadPath, std::move(path));
}

void Preferences::setDefaultDownloadBookmark(std::optional<ByteBlob> bookmark) {
    assign(Settings::defaultDownloadBookmark, std::move(bookmark));
}

void Preferences::setDeleteAfterDownload(bool deletes) {
    assign(Settings::deleteAfterDownload, deletes);
}

void Preferences::setMaxConcurrentDownloads(std::int64_t limit) {
    assign(Settings::maxConcurrentDownloads, limit);
}

void Preferences::setSyncPollIntervalMinutes(std::int64_t minutes) {
    assign(Settings::syncPollIntervalMinutes, minutes);
}

void Preferences::setConflictBehavior(ConflictBehavior behavior) {
    assign(Settings::conflictBehavior, behavior);
}

std::filesystem::path Preferences::downloadFolderURL() const {
    if (defaultDownloadBookmark_)
        if (auto resolved = folderAccess_.resolve(*defaultDownloadBookmark_)) return std::move(resolved->folder);
    return defaultDownloadPath_;
}

void Preferences::refreshDownloadFolderBookmark() {
    if (!defaultDownloadBookmark_) return;
    const auto resolved = folderAccess_.resolve(*defaultDownloadBookmark_);
    if (!resolved || !resolved->isStale) return;

    const bool hasAccess = folderAccess_.startAccess(resolved->folder);
    Result<ByteBlob> renewed = folderAccess_.makeBookmark(resolved->folder);
    if (hasAccess) folderAccess_.stopAccess(resolved->folder);
    if (!renewed) return;

    const auto followed = folderAccess_.resolve(*renewed);
    setDefaultDownloadBookmark(std::move(*renewed));
    if (followed) setDefaultDownloadPath(followed->folder.native());
}

void Preferences::setDownloadFolder(const std::filesystem::path& folder) {
    Result<ByteBlob> bookmark = folderAccess_.makeBookmark(folder);
    setDefaultDownloadBookmark(bookmark ? std::optional(std::move(*bookmark)) : std::nullopt);
    setDefaultDownloadPath(folder.has_filename() ? folder.native() : folder.parent_path().native());
}

}  // namespace tovri
