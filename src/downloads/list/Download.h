#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "base/Bytes.h"
#include "base/UUID.h"
#include "downloads/list/DownloadStatus.h"
#include "downloads/list/FailedTry.h"
#include "downloads/list/Hold.h"
#include "downloads/retrying/RuleRetry.h"
#include "platform/FileManager.h"
#include "platform/WallClock.h"
#include "service/records/FileID.h"

namespace tovri {

class DownloadRun;
class Tries;

// A folder that many items share. Never null in an item.
using SharedFolder = std::shared_ptr<const std::filesystem::path>;

// A file that was placed although it was not what put.io has.
struct DifferingCopy {
    std::string path;
    ByteCount size = 0;
    std::string checksum;
};

// What the queue file keeps of an item. Absent values are none; a queue may hold a hundred thousand of these.
struct DownloadRecord {
    UUID id;
    FileID fileID;
    std::string fileName;                        // as put.io has it: data, not a path
    ByteCount fileSize = 0;                      // as put.io reported it; 0 when it gave none
    std::optional<std::string> crc32;            // likewise: up to eight hexadecimal digits
    std::optional<ByteCount> listedSize;         // as put.io said when it was asked again, where that is another size
    std::shared_ptr<const std::string> account;  // put.io's, in which it was queued; null: of whoever is signed in next
    SharedFolder destinationFolder;
    std::shared_ptr<const ByteBlob> securityScopeBookmark;
    bool deleteAfterDownload = false;  // delete this one file from put.io once it is placed
    bool hasStartedOver = false;       // what it was gone on from did not fit put.io's checksum: once is enough
    bool isUnproven = false;           // its deletion failed because it could not be shown to be safe
    std::optional<bool> durable;       // whether the placed file would survive a loss of power; none: nobody knows yet
    std::optional<FolderID> folderDeleteID;  // the put.io folder to delete once its whole group has arrived
    std::optional<UUID> folderGroupID;
    std::optional<UUID> syncRuleID;  // the automation rule that queued it
    std::optional<UUID> batchID;     // what was queued at one stroke has one, where it is more than one item
    DownloadStatus status = DownloadStatus::queued;
    double progress = 0;  // 0 to 1
    ByteCount bytesDownloaded = 0;
    std::optional<std::string> error;    // why it failed last, as the user sees it
    std::optional<ByteBlob> resumeData;  // the transfer session's token
    // The token of the whole file, from when it has arrived until it has its place: it is placed without being fetched.
    std::shared_ptr<const ByteBlob> receivedFile;
    std::optional<Timestamp> queuedAt;
    std::optional<Timestamp> startedAt;  // first start; kept across pauses and retries
    std::optional<Timestamp> completedAt;
    std::optional<std::string> stagedURL;             // path of the received file while a conflict is open
    std::optional<std::string> resolvedURL;           // path at which the file was placed
    std::optional<std::string> arrivedChecksum;       // of the bytes that arrived, as crc32
    std::shared_ptr<const DifferingCopy> formerCopy;  // what it brought before: its place is the next one's
    std::optional<std::string> deletionAccount;       // in which put.io may have deleted it, whether we know it or not
    std::shared_ptr<const RuleRetry> ruleRetry;  // of a rule's failed item, until it arrives or the user retries it
    // The last ones; null: none. Never changed, only exchanged: the queue is saved on another thread.
    std::shared_ptr<const FailedTries> failedTries;
    HoldPointer hold;  // of a queued or a downloading item, and changed by the list alone

    // It stands under its name, but is not what put.io has: `error` says what differs.
    [[nodiscard]] bool isDoubtful() const { return status == DownloadStatus::completed && error.has_value(); }

    // As far as is known now.
    [[nodiscard]] ByteCount expectedSize() const { return listedSize.value_or(fileSize); }

    // As it was before anything of it had arrived. What has failed on the way stays known.
    void forgetArrival();

    void noteFailedTry(Timestamp at, std::string what);
};

// One put.io file on its way into one local folder. Owned by the queue, shared with whoever works on it; only the
// download engine changes it, the status through DownloadList alone. The identity is `id`.
struct Download : DownloadRecord {
    using Status = DownloadStatus;

    BytesPerSecond speed;        // last measured
    DownloadRun* run = nullptr;  // what brings it on its way now; null when nothing does
    bool isBegunAgain = false;   // this run is not its first: put.io's record may have changed since it was queued
    std::optional<FileStamp> placedAs;  // the file as it took its place, where all its bytes came in this process
    ByteCount onDisk = 0;               // of its file, left by an earlier transfer for the next to go on from
    ByteCount roomKept = 0;             // for its file on the volume where its bytes gather, as long as they do
    std::int64_t position = 0;          // the list's sort key, smallest on top
    std::shared_ptr<Tries> tries;       // of the run, and of the ones before it as long as no byte comes

    explicit Download(DownloadRecord record) : DownloadRecord(std::move(record)) {}

    [[nodiscard]] std::string speedText() const;     // "1.2 MB/s", empty below 1
    [[nodiscard]] std::string progressText() const;  // "1.2 MB / 3.4 MB"
    [[nodiscard]] std::string percentText() const;   // "42%"
    [[nodiscard]] std::optional<double> etaSeconds() const;
    [[nodiscard]] std::string etaText() const;  // "12s left", "3m 4s left", "1h 2m left" or empty
};

// Whether put.io is to delete its copy once ours is safe.
[[nodiscard]] inline bool isDeletedLater(const DownloadRecord& item) {
    return item.deleteAfterDownload || item.folderDeleteID;
}

// Whether it finished more than 30 days ago, where a date says so.
[[nodiscard]] bool isOutdated(const DownloadRecord& item, Timestamp now);

using DownloadPointer = std::shared_ptr<Download>;

// An item for all who do not belong to the engine.
using ConstDownloadPointer = std::shared_ptr<const Download>;

// Of a progress from 0 to 1, truncated: "42%"; what is no such number is not shown as if it were.
[[nodiscard]] std::string percentText(double progress);

// "59s", "3m 4s", "1h 2m"
[[nodiscard]] std::string durationText(double seconds);

}  // namespace tovri
