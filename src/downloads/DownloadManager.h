#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadPorts.h"
#include "downloads/DownloadService.h"
#include "downloads/connections/ConnectionBudget.h"
#include "downloads/connections/LinksAhead.h"
#include "downloads/deleting/FolderGroups.h"
#include "downloads/deleting/RemoteDeletion.h"
#include "downloads/holding/AccountGate.h"
#include "downloads/holding/HeldItems.h"
#include "downloads/list/DownloadList.h"
#include "downloads/partials/KeptFiles.h"
#include "downloads/partials/Leftovers.h"
#include "downloads/placing/ConflictQueue.h"
#include "downloads/placing/DurabilityCommit.h"
#include "downloads/placing/Placement.h"
#include "downloads/restoring/Recovery.h"
#include "downloads/retrying/ServiceHolds.h"
#include "downloads/running/RunSurroundings.h"
#include "downloads/running/Settlement.h"
#include "downloads/running/VolumeLanes.h"
#include "downloads/running/receiving/ReceivingFolders.h"
#include "downloads/saving/QueueSaver.h"
#include "downloads/undoing/TakenOut.h"
#include "settings/Preferences.h"

namespace tovri {

// A folder with the bookmark that gives access to it, if it needs one.
struct DestinationFolder {
    std::filesystem::path folder;
    std::optional<ByteBlob> bookmark;
};

// The download engine: starts transfers within the concurrency limit, follows them, and offers what the user can do to
// the queue. What surrounds a transfer stands beside it: FolderWalk, Placement, RemoteDeletion, QueueSaver. Its own
// failures end in an item's status and error, or in a diagnostic line; none reaches a caller.
class DownloadManager {
public:
    explicit DownloadManager(DownloadPorts ports);
    ~DownloadManager();
    DownloadManager(const DownloadManager&) = delete;
    DownloadManager& operator=(const DownloadManager&) = delete;

    // Both outlive the manager. Before this nothing is asked of put.io, and nothing starts.
    void configure(DownloadService& service, const Preferences& preferences);

    void setOnSyncFileSettled(Settlement::SyncFileSettled tell) { settlement_.setOnSyncFileSettled(std::move(tell)); }

    // Told where that is taken back.
    void setOnSyncFileReturned(Settlement::SyncFileSettled tell) { settlement_.setOnSyncFileReturned(std::move(tell)); }

    Subscription onChange(std::function<void(const QueueChange&)> tell) { return list_.onChange(std::move(tell)); }

    // The queue; index 0 is the top.
    [[nodiscard]] const DownloadList& downloads() const { return list_; }

    [[nodiscard]] bool isPaused() const { return around_.isQueuePaused; }

    [[nodiscard]] const FileConflict* pendingConflict() const { return conflicts_.pendingConflict(); }

    // --- Queueing ---

    // `folder` with `bookmark`, or the preferences' download folder, or "Downloads" in the user's home.
    [[nodiscard]] DestinationFolder resolveDestination(const std::optional<DestinationFolder>& destination) const;

    struct EnqueueOptions {
        std::optional<DestinationFolder> destination = {};  // none: the preferences'
        std::optional<bool> deleteAfterDownload = {};       // none: the preferences'
        std::optional<UUID> syncRuleID = {};
        std::optional<UUID> batchID = {};  // of what is queued together with it; none: it is queued alone
    };

    // For what is queued at one stroke, where it is more than one item.
    [[nodiscard]] UUID newBatchID() { return ports_.random.makeUUID(); }

    // Puts the file on top of the queue and starts it when a slot is free.
    ConstDownloadPointer enqueue(const PutIOFile& file, const EnqueueOptions& options);

    struct FolderRequest {
        FolderID folderID;
        std::string name;               // as put.io has it, for diagnostic lines
        DestinationFolder destination;  // receives the folder's content
        bool deleteAfterDownload = false;
        UUID groupID;
        std::function<void(const Error& reason)> onCut = {};  // told when only its beginning could be listed
        std::function<void(HoldPointer)> onWait = {};         // what the listing waits for; null when that is over
        std::optional<UUID> batchID = {};  // none: the folder is a batch of its own, named by its group
    };

    // Puts every file below a put.io folder on top of the queue, sub-folders kept. With deletion, put.io's folder goes
    // once the last file has arrived. The failure was reported by a diagnostic line; nothing is queued then.
    Task<Result<std::vector<ConstDownloadPointer>>> enqueueFolder(FolderRequest request, std::stop_token stop);

    // --- Control. An item that has left the queue stays as it is. ---

    // Ends the item's transfer, if it has one, and keeps its token. Where nothing runs because the queue is only
    // edited, also an item that waits, or that was saved while it was downloading, is paused.
    void pause(const ConstDownloadPointer& item);
    void resume(const ConstDownloadPointer& item);
    void pauseAll();
    void resumeAll();
    void cancel(const ConstDownloadPointer& item);
    void cancel(const std::vector<ConstDownloadPointer>& items);
    void cancelAll();
    void remove(const ConstDownloadPointer& item);
    void remove(const std::vector<ConstDownloadPointer>& items);
    void clearFinished();
    void retry(const ConstDownloadPointer& item);

    // What the last of the five above has taken out can be taken back for ten seconds, or until the next of them: each
    // item goes back to its place and status with the bytes that it had, unless it has got another future since. It was
    // cancelled and saved at once all the same. Empty where nothing can be taken back.
    [[nodiscard]] const TakenOut& takenOut() const { return takenOut_; }

    [[nodiscard]] bool canTakeBack() const { return !takenOut_.items.empty(); }

    void takeBack();

    void retryDelete(const ConstDownloadPointer& item);

    // Deletes from put.io although the item's error says what is missing here; the user has read that. Where by now
    // something else is missing, nothing is deleted and the item says so.
    void deleteAnyway(const ConstDownloadPointer& item);

    void moveUp(const ConstDownloadPointer& item);
    void moveDown(const ConstDownloadPointer& item);
    void moveToTop(const ConstDownloadPointer& item);

    // The user's answer to `pendingConflict`.
    void resolveConflict(ConflictChoice choice, bool applyToAll) { conflicts_.resolveConflict(choice, applyToAll); }

    // Of `candidates`, the files that the rule has in the queue; a failed one among them is retried when its time has
    // come.
    [[nodiscard]] std::unordered_set<FileID> inFlightFileIDs(const UUID& rule,
                                                             const std::unordered_set<FileID>& candidates);

    // Writes to the folder of a held item although another volume is expected there.
    void useFolderAnyway(const ConstDownloadPointer& item) { held_.useFolderAnyway(item); }

    // The same for all, from now on.
    void useFoldersAnyway() { destinations_.acceptAny(); }

    // Downloads a held item from the account that is signed in although it was queued in another.
    void useAnyAccount(const ConstDownloadPointer& item);

    // For as long as there is a reason, given as the user sees it, nothing starts: what runs keeps what has arrived and
    // waits in the queue, unless it is being placed. What the user has paused stays so.
    void holdAll(std::optional<std::string> reason);

    [[nodiscard]] const std::optional<std::string>& holdReason() const { return around_.holdReason; }

    // While nobody is signed in nothing starts. Somebody is until this is told.
    void setSignedIn(bool isSignedIn);

    // In which account; none: nobody knows yet. Items of another one wait, and what runs of them goes back to the
    // queue.
    void setAccount(const std::optional<std::string>& name);

    // --- Keeping ---

    // Loads the saved queue, repairs what the previous run left half-done, and goes on. Only the first call does
    // anything.
    void restoreQueue();

    // Loads the saved queue as it stands, for a process that only edits it: pauses, resumes, cancels, removes, clears
    // and moves. Nothing starts and nothing is repaired; on the disk only saveNow changes anything, and only the queue
    // file. What restoring would do is left to the next process that does. Only the first call of the two does
    // anything.
    void openForEditing();

    // Whether the machine may have lost the item's file, although it is completed: that is being looked at. If so, it
    // is queued again.
    [[nodiscard]] bool mayBeLost(const Download& item) const { return recovery_.mayBeLost(item); }

    // Returns when the files of the previous process have been looked at, which may queue some of them again, and all
    // that has arrived would survive a loss of power; or why it cannot be made to.
    Task<Result<void>> secure(std::stop_token stop);

    // The folders with what secure() waits for.
    [[nodiscard]] std::set<std::filesystem::path> unsecuredFolders() const;

    // Told of each completed item once its file would survive a loss of power, or where that cannot be had.
    Subscription onSecured(std::function<void(const Download&)> tell) { return durability_.onSecured(std::move(tell)); }

    // Writes the queue file before it returns. False, after a diagnostic line, when it could not.
    bool saveNow() { return use_ == Use::none || saver_.saveNow(); }

    // As soon as that can be, without waiting for it.
    void saveSoon() { scheduleSave(); }

    // The saved queue that could not be understood when this one began, where there was one.
    [[nodiscard]] const std::optional<std::filesystem::path>& unreadableQueue() const {
        return store_->unreadableFile();
    }

    // That and why the last save failed, as the user sees it; none when it did not.
    [[nodiscard]] const std::optional<std::string>& saveFailure() const { return saver_.failure(); }

    // Ends every transfer, keeps its token in its item, which stays downloading, and starts nothing any more. `done`
    // runs when all tokens have come, no file is being placed and all that has arrived is durable, after 1.2 seconds at
    // the latest; then it is time for saveNow, which waits no longer than VolumeQueues::patienceAtEnd from this call.
    void suspend(std::function<void()> done);

    // --- Sums over the queue, computed on every read ---

    [[nodiscard]] std::size_t activeCount() const;
    [[nodiscard]] BytesPerSecond totalSpeed() const;
    [[nodiscard]] std::vector<ConstDownloadPointer> activeDownloads() const;
    [[nodiscard]] std::vector<ConstDownloadPointer> finishedDownloads() const;
    [[nodiscard]] bool hasUnfinishedWork() const;

    // Whether something runs, or can without anything else than time: not while all that is queued waits for a
    // destination.
    [[nodiscard]] bool canRunNow() const;

    // Since when nothing has come from put.io, where all that could go on waits for it, or tries in vain.
    [[nodiscard]] std::optional<MainLoop::TimePoint> waitsForServiceSince() const;
    [[nodiscard]] double overallProgress() const;

    // Over which the item's bytes come at the moment.
    [[nodiscard]] static int connectionsOf(const Download& item);
    [[nodiscard]] std::string queueETAText() const;

private:
    // What the saved queue was loaded for.
    enum class Use { none, editing, running };

    void processQueue();
    void lookAhead();
    [[nodiscard]] std::vector<FileID> nextFiles();
    [[nodiscard]] bool mayStart() const;
    [[nodiscard]] std::size_t slotCount() const;
    [[nodiscard]] bool hasFreeSlot() const;
    void start(const DownloadPointer& item);
    Task<> run(DownloadPointer item);
    Task<> runFromConflict(DownloadPointer item);
    void runEnded();
    static void abandonRun(Download& item);
    void abandon(const DownloadPointer& item);
    void takeAway(const DownloadPointer& item);
    [[nodiscard]] std::vector<DownloadPointer> changeable(const std::vector<ConstDownloadPointer>& shown);
    void beginTakingOut(TakenOut::How how);
    void tellTakenOut() const;
    void setAside(const DownloadPointer& item);
    void forgetTakenOut();
    void drop(const TakenOut::Item& each);
    [[nodiscard]] bool isToComeBack(const TakenOut::Item& each, TakenOut::How how) const;
    void giveBack(const TakenOut::Item& each);
    [[nodiscard]] std::optional<StatusStep> stepBack(const TakenOut::Item& each) const;
    void moved(const Download& item);
    void pauseAtRest(Download& item);
    void queueAgain(const DownloadPointer& item);
    void putBack(const DownloadPointer& item);
    void holdForRule(Download& item);
    void dropToken(Download& item);
    void dropArrived(Download& item);
    void leavePartial(Download& item, std::string_view token);
    void removePartial(std::string_view token);
    void finishSuspending();

    [[nodiscard]] std::vector<DownloadPointer> loadQueue();
    [[nodiscard]] QueueSnapshot makeSnapshot() const;
    void endInterruptedDeletions();
    void cleanUp(const std::vector<DownloadPointer>& items, std::vector<PlacementEntry> placements);
    void leaveFailed(const std::vector<DownloadPointer>& items, const std::set<UUID>& goneOnFrom);
    void lookForLost();
    [[nodiscard]] MachineStart machineStart() const;
    void goOn(const DownloadPointer& item);
    void fetchAgain(const DownloadPointer& item);
    void looksEnded();
    [[nodiscard]] DownloadPointer nextInQueue();

    void scheduleSave() { saves_.request(SaveSchedule::Urgency::soon); }

    void setPaused(bool isPaused);

    DownloadPorts ports_;

    std::shared_ptr<DownloadStore> store_;
    std::shared_ptr<PlacementJournal> journal_;
    std::shared_ptr<BroughtFiles> brought_;
    SaveSchedule saves_;
    QueueSaver saver_;
    Use use_ = Use::none;
    std::optional<std::string> bootID_;  // as the queue file has it

    bool isProcessing_ = false;  // processQueue() is under way
    bool isSignedIn_ = true;
    Subscription processingOn_;
    Subscription lookingAhead_;        // while links are to be asked for
    std::function<void()> suspended_;  // set from suspend() on, until it has run
    Subscription suspendLimit_;

    DownloadList list_;
    TakenOut takenOut_;
    FolderGroups groups_;
    ConflictQueue conflicts_;
    VolumeLanes lanes_;
    ReceivingFolders receiving_;
    KeptFiles kept_;
    Leftovers leftovers_;
    DestinationCheck destinations_;
    ConnectionBudget connections_;
    HeldItems held_;
    AccountGate accounts_;
    HostBrakes brakes_;
    LinksAhead links_;
    ServiceHolds serviceHolds_;
    RemoteDeletion deletion_;
    Settlement settlement_;
    Placement placement_;
    DurabilityCommit durability_;
    Recovery recovery_;
    Signal<> looked_;  // told when the files of the previous process have been looked at
    RunSurroundings around_;
    Subscription securing_;
    Subscription leftoversKnown_;
    std::unordered_set<DownloadRun*> runs_;  // whose frames the scope owns
    TaskScope scope_;
};

}  // namespace tovri
