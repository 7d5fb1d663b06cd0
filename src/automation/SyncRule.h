#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "automation/FileIDSet.h"
#include "base/Bytes.h"
#include "base/UUID.h"
#include "platform/FolderAccess.h"
#include "platform/WallClock.h"

namespace tovri {

// Ties one put.io folder to one local folder: every file that appears below the one after the rule was made is
// downloaded into the other. A value; SyncManager keeps the rules. The identity is `id`.
struct SyncRule {
    UUID id;
    FolderID putioFolderID;
    std::string putioFolderName;  // for lines and screens
    std::string localFolderPath;  // absolute
    std::optional<ByteBlob> localFolderBookmark;
    bool deleteAfterDownload = false;  // from put.io, once a file has arrived
    bool isEnabled = true;             // whether automatic passes look at it
    std::int64_t pollIntervalMinutes = 5;
    std::optional<std::string> account;  // put.io's, in which it was made; none: of whoever is signed in next

    FileIDSet knownFileIDs;                 // never downloaded again: found by the inventory, or settled since
    FileIDSet pendingFileIDs;               // put into the queue, not settled yet
    bool isInitialized = false;             // the inventory has succeeded; no file is downloaded before
    bool stockIsWhole = false;              // a whole listing has been seen; till then, old files may be unknown
    std::optional<Timestamp> lastSyncDate;  // when the last pass began that could list the folder

    std::optional<std::string> lastFailure;  // of its inventory or its last pass; none when that went well
    std::optional<Timestamp> watchedSince;   // when it was pointed at another folder: what ended before is not its
    // Another account is signed in, or nobody knows which: the rule waits. Not saved.
    bool isForeign = false;

    // Which state of the five fields above this is a copy of; not saved. SyncManager counts it up with each change of
    // them; 0 stands in a record that is nobody's copy.
    std::uint64_t revision = 0;
};

// The first of the rules that brings the same folder to the same place, other than `rule` itself; null when none does.
// Good as long as `rules` is.
[[nodiscard]] const SyncRule* ruleOfPair(const std::vector<SyncRule>& rules, const SyncRule& rule);

// Where the rule's files go: where its bookmark leads, else its path.
[[nodiscard]] std::filesystem::path localFolderURL(const SyncRule& rule, FolderAccess& access);

}  // namespace tovri
