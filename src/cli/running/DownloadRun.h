#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <string_view>

#include "base/Task.h"
#include "cli/CommandContext.h"
#include "cli/running/ConflictPrompt.h"
#include "cli/running/RunReporter.h"
#include "platform/Await.h"

namespace tovri::cli {

// The application at work for one command: sets it up, shows what happens, tells failures, and knows when nothing is
// left to do. A stop brings every transfer to rest and saves the queue and the rules.
class DownloadRun {
public:
    // `context` outlives this. Nothing is started or shown before `begin`.
    explicit DownloadRun(CommandContext& context);

    // What stands in the way of a run, told to the user; none when it may begin.
    [[nodiscard]] std::optional<ExitCode> refusal() const;

    void begin();

    [[nodiscard]] DownloadManager& downloads() { return downloads_; }

    // Tells a failure that is no item's, and remembers it for the exit status.
    void fail(const Error& error);
    void fail(const std::string& text, ExitCode code = ExitCode::failure,
              const std::optional<UUID>& rule = std::nullopt);

    // Says so, when nothing is to be done.
    void tellIfNothingToDo(std::string_view reason);

    enum class Until {
        empty,    // nothing runs and nothing is queued
        stopped,  // the user ends it
    };

    // Works until then, or until the run has to be given up; says how it ended. Success means that what has arrived
    // would survive a loss of power.
    Task<ExitCode> work(Until until, std::stop_token stop);

    // Ctrl-C: soon, also when a transfer does not come to rest in time. Failure where all has arrived and only a disk
    // was waited for.
    void interrupt(std::function<void(ExitCode)> done);

private:
    void follow(const QueueChange& change);
    void tellFailure(const Download& item);
    void tellTimetable();
    void tellUnsaved(const std::optional<std::string>& reason);
    void save();
    void checkSoon();
    void watchPatience();
    [[nodiscard]] std::string waitText() const;
    [[nodiscard]] bool isOver() const;
    Task<> learnAccount();
    Task<bool> secure();
    void watchSecuring();
    void tellStop(const std::set<std::filesystem::path>& unsecured);
    void rest(std::function<void()> done);

    // Ends the run before it is empty, for this reason.
    void giveUp(const std::string& reason, ExitCode code = ExitCode::failure);
    void giveUpRefused();
    [[nodiscard]] bool isWatch() const;

    // The command that goes on with what this one leaves.
    [[nodiscard]] std::string_view successor() const { return isWatch() ? "watch" : "run"; }

    [[nodiscard]] std::string adviceFor(const Download& item, std::string_view what) const;
    void tellPause();
    void tellHeld();
    void tellStaying();
    [[nodiscard]] ExitCode exitCode() const;

    CommandContext& context_;
    DownloadManager& downloads_;
    RunTally tally_;
    std::unique_ptr<RunReporter> reporter_;
    ConflictPrompt prompt_;
    Until until_ = Until::empty;
    ExitCode failed_ = ExitCode::success;  // what was told of it that is no item's
    std::optional<std::string> unsaved_;   // what was last told of what could not be saved
    bool isGivingUp_ = false;
    bool isAtRest_ = false;
    std::move_only_function<void()> ended_;
    std::stop_source securing_;
    Subscription watchingSecuring_;                // while what has arrived is taken to the disk
    std::set<std::filesystem::path> toldFolders_;  // that this takes long in
    Subscription patience_;
    Subscription check_;
    Subscription signOut_;
    // Whoever has asked put.io with a refused token learns of that first, and fails for it.
    static constexpr std::chrono::milliseconds refusalPatience{500};
    Subscription refusal_;  // of the token, until it ends the run
    Subscription changes_;
};

}  // namespace tovri::cli
