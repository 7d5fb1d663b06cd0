#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "base/Bytes.h"
#include "base/RateText.h"
#include "settings/ConflictBehavior.h"
#include "settings/SpeedTimetable.h"

namespace tovri {

// The user's settings, and what they are until the user changes them.
struct PreferenceValues {
    std::string defaultDownloadPath;  // where downloads go that were given no folder of their own
    std::optional<ByteBlob> defaultDownloadBookmark;
    bool deleteAfterDownload = false;
    std::int64_t maxConcurrentDownloads = 3;
    std::int64_t syncPollIntervalMinutes = 5;
    ConflictBehavior conflictBehavior = ConflictBehavior::keepBoth;
    bool readLongFolders = true;
    std::int64_t reservedMebibytes = 256;
    std::int64_t patienceMinutes = 10;
    bool limitSpeed = false;
    BytesPerSecond speedLimit{2'000'000};
    SpeedTimetable speedTimetable;
};

// What a preference has beside its key and value.
template <class T>
struct PreferenceRange {};

// A stored number below `least` gives way to the default; a screen steps up to `mostOffered`, and any more is taken as
// it is.
template <>
struct PreferenceRange<std::int64_t> {
    std::int64_t least = INT64_MIN;
    std::int64_t mostOffered = INT64_MAX;
};

// One preference: the key that stores and names it, its value, and what it means, for whoever sets it by its key;
// nothing where only the program does.
template <class T>
struct Preference {
    std::string_view key;
    T PreferenceValues::* value;
    std::string_view meaning = {};
    PreferenceRange<T> range = {};
};

namespace preference {

inline constexpr Preference<std::string> defaultDownloadPath{
    "defaultDownloadPath", &PreferenceValues::defaultDownloadPath, "the folder that receives downloads"};
inline constexpr Preference<std::optional<ByteBlob>> defaultDownloadBookmark{
    "defaultDownloadBookmark", &PreferenceValues::defaultDownloadBookmark};
inline constexpr Preference<bool> deleteAfterDownload{
    "deleteAfterDownload", &PreferenceValues::deleteAfterDownload,
    "true or false; whether files are deleted from put.io once they have arrived"};
inline constexpr Preference<std::int64_t> maxConcurrentDownloads{"maxConcurrentDownloads",
                                                                 &PreferenceValues::maxConcurrentDownloads,
                                                                 "how many downloads run at once, from 1 on",
                                                                 {1, 10}};
inline constexpr Preference<std::int64_t> syncPollIntervalMinutes{
    "syncPollIntervalMinutes",
    &PreferenceValues::syncPollIntervalMinutes,
    "how often a new automation rule looks, in minutes, from 1 on",
    {1, 60}};
inline constexpr Preference<ConflictBehavior> conflictBehavior{
    "conflictBehavior", &PreferenceValues::conflictBehavior,
    "what to do when a name is taken: ask, keepBoth, replace or skip"};
inline constexpr Preference<bool> readLongFolders{
    "readLongFolders", &PreferenceValues::readLongFolders,
    "true or false; whether a folder that put.io does not list in one answer is read to its end"};

inline constexpr Preference<std::int64_t> reservedMebibytes{
    "reservedMebibytes",
    &PreferenceValues::reservedMebibytes,
    "how many MiB of a disk downloads leave free, but never more than a hundredth of it",
    {0, 1024 * 1024}};

inline constexpr Preference<bool> limitSpeed{"limitSpeed", &PreferenceValues::limitSpeed,
                                             "true or false; whether transfers keep to speedLimit and speedTimetable"};

inline constexpr Preference<BytesPerSecond> speedLimit{
    "speedLimit", &PreferenceValues::speedLimit,
    "how many bytes a second all transfers together may move, as in 500K or 2M, where K is 1024 and M is 1024 K; 0 for "
    "no limit but the timetable's"};

inline constexpr Preference<SpeedTimetable> speedTimetable{
    "speedTimetable", &PreferenceValues::speedTimetable,
    "what counts instead at certain times: days, from, to, and a limit or \"hold\", as in \"mon-fri 08:00-18:00 500K; "
    "daily 22:00-06:00 hold\"; \"\" for nothing"};

inline constexpr Preference<std::int64_t> patienceMinutes{
    "patienceMinutes",
    &PreferenceValues::patienceMinutes,
    "for how many minutes a download is tried again without a new byte before it fails",
    {1}};

// In the order in which they are read and listed.
inline constexpr std::tuple all{
    defaultDownloadPath, defaultDownloadBookmark, deleteAfterDownload, maxConcurrentDownloads, syncPollIntervalMinutes,
    conflictBehavior,    readLongFolders,         reservedMebibytes,   patienceMinutes,        limitSpeed,
    speedLimit,          speedTimetable};

// `visit(preference)` for each of them, whose type says what its value is.
template <class Visit>
constexpr void forEach(const Visit& visit) {
    std::apply([&](const auto&... one) { (visit(one), ...); }, all);
}

}  // namespace preference
}  // namespace tovri
