#pragma once

#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>

#include "downloads/running/RunSurroundings.h"
#include "downloads/running/RunTarget.h"
#include "downloads/running/Staging.h"
#include "downloads/running/receiving/Reception.h"

namespace tovri {

// The last part of a run's way: the whole file gets its name, or what the preference or the user says of a name that is
// taken. Lives in its run, and like it acts on the item only as long as that run is the item's current one.
class RunPlacement {
public:
    using Path = std::filesystem::path;

    // The references outlive this.
    RunPlacement(RunSurroundings& around, DownloadPointer item, const DownloadRun& run, Reception& reception);

    // From the received file to the settled item; a failure when the file has no place, and stays where it is.
    Task<Result<void>> place(RunTarget target, Path received, std::stop_token stop);

    // What has arrived and cannot be placed stays for the next try, and stays once.
    Task<> keepWhole();

    // A file that waits in the staging folder since before the last start is what is placed, or kept.
    void takeStaged(Path staged) { received_ = std::move(staged); }

    // When nobody wants the file any more.
    void removeReceived() {
        if (!leavesStaged_) remove(received_);
    }

    // The file that waits for the user stays in the staging folder, whoever withdraws its question.
    void leaveStaged() { leavesStaged_ = true; }

    [[nodiscard]] bool isWaitingForUser() const { return isWaitingForUser_; }

private:
    // What becomes of a file whose name is taken; none when the question was withdrawn.
    struct Decision {
        ConflictResolution choice;
        ReplaceConsent consent = ReplaceConsent::policy;
    };

    Task<Result<Path>> giveName(std::stop_token stop);
    Task<Result<void>> resolveConflict(std::stop_token stop);
    Task<Result<Decision>> decide();
    Task<Result<Decision>> askUser(bool isOnlyCopy);
    Task<ConflictResolution> answerOfUser(bool isOnlyCopy);
    Task<> secure(Path placed);
    void settle(const Path& placed);
    void remove(Path file);

    [[nodiscard]] bool isCurrent() const { return item_->run == &run_; }

    // Whether what stood at the path was ours, and is gone.
    [[nodiscard]] bool hasReplaced(const Path& placed) const {
        return item_->formerCopy && item_->formerCopy->path == placed.native();
    }

    [[nodiscard]] Placement::Request request() const;
    [[nodiscard]] std::optional<ConflictChoice> choiceByPreference() const;
    [[nodiscard]] FileConflict conflict(bool isOnlyCopy) const;
    [[nodiscard]] Error cannotBeStaged(const Error& reason) const;

    RunSurroundings& around_;
    DownloadPointer item_;
    const DownloadRun& run_;
    Reception& reception_;
    Staging staging_;
    RunTarget target_;
    Path received_;  // where the whole file is now
    bool isWaitingForUser_ = false;
    bool leavesStaged_ = false;
    bool wasUserAsked_ = false;
};

}  // namespace tovri
