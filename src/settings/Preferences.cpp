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

void read(UserDefaults& defaults, std::string_view key, std::optional<BytesPerSecond>& value) {
    if (const auto number = defaults.integer(key)) value = BytesPerSecond{*number};
}

void read(UserDefaults& defaults, std::string_view key, std::optional<SpeedTimetable>& value) {
    if (const auto text = defaults.string(key)) value = SpeedTimetable::parse(*text);
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

void write(UserDefaults& defaults, std::string_view key, const BytesPerSecond& value) {
    defaults.setInteger(key, value.count);
}

void write(UserDefaults& defaults, std::string_view key, const SpeedTimetable& value) {
    defaults.setString(key, value.text());
}

template <class T>
bool isAcceptable(const Preference<T>& /*preference*/, const T& /*stored*/) {
    return true;
}

bool isAcceptable(const Preference<std::int64_t>& preference, const std::int64_t& stored) {
    return stored >= preference.range.least;
}

bool isAcceptable(const Preference<BytesPerSecond>& /*preference*/, const BytesPerSecond& stored) {
    return stored.count >= 0;
}

}  // namespace

Preferences::Preferences(UserDefaults& defaults, FolderAccess& folderAccess, const std::filesystem::path& home)
    : defaults_(defaults), folderAccess_(folderAccess), home_(home) {
    values_.defaultDownloadPath = home.native() + "/Downloads";
    preference::forEach([this](const auto& one) { load(one); });
}

template <class T>
void Preferences::load(const Preference<T>& preference) {
    std::optional<T> stored;
    read(defaults_, preference.key, stored);
    if (stored && isAcceptable(preference, *stored)) values_.*preference.value = std::move(*stored);
}

template <class T>
void Preferences::assign(const Preference<T>& preference, T value) {
    T& current = values_.*preference.value;
    const bool differs = current != value;
    current = std::move(value);
    write(defaults_, preference.key, current);
    if (differs) changes_.tell(preference.key);
}

template void Preferences::assign(const Preference<std::string>&, std::string);
template void Preferences::assign(const Preference<std::optional<ByteBlob>>&, std::optional<ByteBlob>);
template void Preferences::assign(const Preference<bool>&, bool);
template void Preferences::assign(const Preference<std::int64_t>&, std::int64_t);
template void Preferences::assign(const Preference<ConflictBehavior>&, ConflictBehavior);
template void Preferences::assign(const Preference<BytesPerSecond>&, BytesPerSecond);
template void Preferences::assign(const Preference<SpeedTimetable>&, SpeedTimetable);

std::filesystem::path Preferences::downloadFolderURL() const {
    if (values_.defaultDownloadBookmark)
        if (auto resolved = folderAccess_.resolve(*values_.defaultDownloadBookmark)) return std::move(resolved->folder);
    return home_ / values_.defaultDownloadPath;  // which is absolute, unless somebody wrote another one by hand
}

void Preferences::refreshDownloadFolderBookmark() {
    if (!values_.defaultDownloadBookmark) return;
    const auto resolved = folderAccess_.resolve(*values_.defaultDownloadBookmark);
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
