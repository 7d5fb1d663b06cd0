#include "cli/running/DownloadRun.h"

#include <chrono>

#include <fmt/format.h>

#include "base/Sentence.h"
#include "cli/display/DisplayText.h"
#include "cli/display/ShortID.h"
#include "cli/running/StayingOriginals.h"

namespace tovri::cli {
namespace {

using Status = Download::Status;

ReportForm formFor(const CommandContext& context) {
    if (context.invocation.has("--json")) return ReportForm::json;
    return context.terminal.showsOutput() ? ReportForm::live : ReportForm::lines;
}

bool canAsk(const CommandContext& context) {
    return context.terminal.canAsk() && !context.invocation.has("--json");
}

}  // namespace

DownloadRun::DownloadRun(CommandContext& context)
    : context_(context),
      downloads_(context.app.downloadManager()),
      tally_(downloads_),
      reporter_(makeReporter(formFor(context),
                             {context.platform.loop, context.platform.clock, context.terminal, downloads_, tally_})),
      prompt_(downloads_, context.terminal,
              [this] { giveUp(fmt::format("A file waits for an answer; tovri-cli {} asks again.", successor())); }) {}

std::optional<ExitCode> DownloadRun::refusal() const {
    if (context_.preferences.conflictBehavior() == ConflictBehavior::ask && !canAsk(context_)) {
        return context_.fail(
            context_.invocation.has("--on-conflict")
                ? "--on-conflict ask needs a terminal; give keep-both, replace or skip."
                : "the preference conflictBehavior is \"ask\", which needs a terminal; give --on-conflict keep-both, "
                  "replace or skip, or change it: tovri-cli config conflictBehavior keepBoth",
            ExitCode::wrongArguments);
    }
    if (!context_.auth.isAuthenticated())
        return context_.fail("not signed in. Sign in with: tovri-cli login", ExitCode::notSignedIn);
    return std::nullopt;
}

void DownloadRun::begin() {
    changes_ = downloads_.onChange([this](const QueueChange& change) { follow(change); });
    signOut_ = context_.auth.onChange([this](AuthManager::Change) {
        if (!context_.auth.isAuthenticated())
            refusal_ = context_.platform.loop.schedule(refusalPatience, [this] { giveUpRefused(); });
    });
    if (context_.invocation.has("--use-folder-anyway")) downloads_.useFoldersAnyway();
    context_.app.setup();
}

void DownloadRun::giveUpRefused() {
    refusal_.reset();
    if (context_.auth.isAuthenticated()) return;
    giveUp(fmt::format("put.io does not accept the access token. Sign in with: tovri-cli login. Then go on with: "
                       "tovri-cli {}",
                       isWatch() ? "watch" : "retry"),
           ExitCode::notSignedIn);
}

void DownloadRun::fail(const Error& error) {
    fail(withAdvice(error), exitCodeOf(error));
}

void DownloadRun::fail(const std::string& text, ExitCode code, const std::optional<UUID>& rule) {
    if (failed_ != ExitCode::notSignedIn) failed_ = code;
    context_.fail(text, code, rule);
}

void DownloadRun::tellIfNothingToDo(std::string_view reason) {
    const bool waits = downloads_.downloads().count({Status::paused, Status::deleting}) > 0;
    if (failed_ != ExitCode::success || waits || downloads_.hasUnfinishedWork()) return;
    if (context_.invocation.has("--json")) return context_.tellDone(reason);
    context_.terminal.message(reason);
}

bool DownloadRun::isWatch() const {
    return context_.invocation.command == CommandName::watch;
}

void DownloadRun::follow(const QueueChange& change) {
    tally_.follow(change);
    reporter_->follow(change);
    prompt_.follow(change);
    if (change.kind == QueueChange::Kind::status) tellFailure(*change.item);
    if (change.kind == QueueChange::Kind::isHeld) tellTimetable();
    if (change.kind == QueueChange::Kind::saving) tellUnsaved(downloads_.saveFailure());
    if (change.kind != QueueChange::Kind::progress) checkSoon();
}

void DownloadRun::tellFailure(const Download& item) {
    struct Words {
        std::string_view what;
        std::string_view advice;
    };

    const auto words = [&]() -> std::optional<Words> {
        if (item.status == Status::failed) return Words{"Failed", "Try again with"};
        if (item.status == Status::remoteDeleteFailed) return Words{"Not deleted from put.io", "Delete it with"};
        // What is to be deleted says the same when that fails.
        if (item.isDoubtful() && !item.deleteAfterDownload) return Words{"Doubtful", "Fetch it again with"};
        return std::nullopt;
    }();
    if (!words) return;
    context_.terminal.message(fmt::format("{}: {}: {} {}", words->what, pathText(item),
                                          printable(asSentence(item.error.value_or("Download failed"))),
                                          adviceFor(item, words->advice)));
}

// While rules are watched, a rule tries again by itself, and no other process can try anything else.
std::string DownloadRun::adviceFor(const Download& item, std::string_view what) const {
    if (isWatch() && item.status == Status::failed && item.syncRuleID) return "Its rule tries again.";
    const std::string id = shortID(item.id, downloads_.downloads().items().size());
    return fmt::format("{}{}: tovri-cli retry {}{}", what, isWatch() ? ", once this has been stopped" : "", id,
                       item.isUnproven ? ", or in spite of that with --anyway" : "");
}

void DownloadRun::tellUnsaved(const std::optional<std::string>& reason) {
    if (reason && reason != unsaved_) context_.fail(*reason);
    unsaved_ = reason;
}

// A run waits for the clock, as it needs nobody to go on.
void DownloadRun::tellTimetable() {
    const std::optional<std::string>& reason = downloads_.holdReason();
    if (!reason || !downloads_.hasUnfinishedWork()) return;
    context_.terminal.message(fmt::format("{}, as speedTimetable says; --limit-rate 0 does without it.", *reason));
}

void DownloadRun::save() {
    const Result<void> saved = context_.app.appDelegate().applicationWillTerminate();
    tellUnsaved(saved ? std::nullopt : std::optional(saved.error().description));
}

bool DownloadRun::isOver() const {
    if (isGivingUp_ || until_ == Until::stopped) return isAtRest_;
    return !downloads_.canRunNow();
}

// In a turn of its own: a completed item may go on to its deletion in this one.
void DownloadRun::checkSoon() {
    if (!ended_ || check_.isActive()) return;
    check_ = context_.platform.loop.schedule(MainLoop::Duration::zero(), [this] {
        check_.reset();
        if (refusal_.isActive() && isOver()) giveUpRefused();
        if (!isOver()) return;
        if (auto ended = std::exchange(ended_, nullptr)) ended();
    });
}

// A run that is to end does not wait for put.io without end.
void DownloadRun::watchPatience() {
    patience_ = context_.platform.loop.schedule(std::chrono::seconds(1), [this] {
        const std::int64_t minutes = context_.preferences.patienceMinutes();
        const auto since = downloads_.waitsForServiceSince();
        if (!since || context_.platform.loop.now() - *since < std::chrono::minutes(minutes)) return watchPatience();
        giveUp(fmt::format("nothing came from put.io for {} {}.{} Go on with: tovri-cli run", minutes,
                           minutes == 1 ? "minute" : "minutes", waitText()));
    });
}

std::string DownloadRun::waitText() const {
    for (const ConstDownloadPointer& item : downloads_.downloads().items())
        if (item->hold && item->hold->reason == Hold::Reason::service)
            return " " + printable(asSentence(item->hold->text));
    return {};
}

Task<ExitCode> DownloadRun::work(Until until, std::stop_token stop) {
    until_ = until;
    tellTimetable();
    if (until == Until::empty) watchPatience();
    using Ended = std::monostate;
    bool isSecured = false;
    while (!isSecured) {
        Result<Ended> ended = co_await Answer<Ended>(context_.platform.loop, stop, [this](auto done) {
            ended_ = [done = std::move(done)]() mutable { done(Ended()); };
            checkSoon();
            return Subscription([this] { ended_ = nullptr; });
        });
        if (!ended) co_return ExitCode::interrupted;
        isSecured = co_await secure();
    }
    co_await learnAccount();
    changes_.reset();
    save();
    reporter_->end();
    tellPause();
    tellHeld();
    tellStaying();
    co_return exitCode();
}

// What stays in the queue is to be known for this account's, also where the run was over before put.io had said which
// that is.
Task<> DownloadRun::learnAccount() {
    constexpr std::chrono::seconds patience{5};
    AccountInfo& account = context_.app.account();
    if (account.name() || !context_.auth.isAuthenticated() || !downloads_.hasUnfinishedWork()) co_return;
    std::stop_source tooLong;
    const Subscription limit =
        context_.platform.loop.schedule(patience, [tooLong]() mutable { tooLong.request_stop(); });
    (void)co_await account.refresh(tooLong.get_token());
}

// What has arrived is on the disk before the program says that all is well. False when there is something to do again:
// the machine may have lost a file since the previous run.
Task<bool> DownloadRun::secure() {
    if (isGivingUp_) co_return true;
    watchSecuring();
    Result<void> secured = co_await downloads_.secure(securing_.get_token());
    watchingSecuring_.reset();
    if (!isOver()) co_return false;
    if (!secured) fail("what has arrived may not survive a loss of power: " + secured.error().description);
    co_return true;
}

void DownloadRun::watchSecuring() {
    constexpr std::chrono::seconds moment{3};
    watchingSecuring_ = context_.platform.loop.schedule(moment, [this] {
        for (const std::filesystem::path& folder : downloads_.unsecuredFolders())
            if (toldFolders_.insert(folder).second)
                context_.terminal.message(
                    fmt::format("Waiting until all that arrived in {} is on the disk.", printable(folder.native())));
        watchSecuring();
    });
}

void DownloadRun::tellPause() {
    const DownloadList& list = downloads_.downloads();
    const std::size_t waiting = list.count({Status::queued, Status::paused}) - list.heldCount();
    if (waiting == 0 || isGivingUp_) return;
    context_.terminal.message(
        downloads_.isPaused()
            ? fmt::format("The queue is paused, {} waiting. Let it go on with: tovri-cli resume, then tovri-cli {}",
                          waiting, successor())
            : fmt::format("{} paused. Let them go on with: tovri-cli resume, then tovri-cli {}", waiting, successor()));
}

// What has to change before these can come is nothing that a run could wait for.
void DownloadRun::tellHeld() {
    constexpr std::size_t most = 20;
    if (isGivingUp_) return;
    const DownloadList& list = downloads_.downloads();
    std::size_t told = 0;
    for (const ConstDownloadPointer& item : list.items()) {
        if (!item->hold) continue;
        if (++told > most) break;
        const bool isElsewhere = item->hold->reason == Hold::Reason::volume;
        if (item->hold->reason == Hold::Reason::account) {
            context_.terminal.message(fmt::format("{}: {}. Let it come from this account with: tovri-cli resume {}",
                                                  printable(item->hold->text), pathText(*item),
                                                  shortID(item->id, list.items().size())));
            continue;
        }
        context_.terminal.message(fmt::format("{}: {}. Go on with: tovri-cli {}{}", printable(item->hold->text),
                                              pathText(*item), successor(),
                                              isElsewhere ? " [--use-folder-anyway]" : ""));
    }
    if (told > most) context_.terminal.message(fmt::format("and {} more wait.", list.heldCount() - most));
}

void DownloadRun::tellStaying() {
    if (isGivingUp_) return;
    for (const std::string& line : stayingLines(tally_, downloads_.downloads())) context_.terminal.message(line);
}

// What was asked for has not arrived while the whole queue is paused, or while it is held.
ExitCode DownloadRun::exitCode() const {
    const DownloadList& list = downloads_.downloads();
    const bool waits =
        (downloads_.isPaused() && list.count({Status::queued, Status::paused}) > 0) || list.heldCount() > 0;
    const bool failed =
        isGivingUp_ || tally_.failed > 0 || tally_.undeleted() > 0 || tally_.doubtful() > 0 || waits || unsaved_;
    return failed && failed_ == ExitCode::success ? ExitCode::failure : failed_;
}

void DownloadRun::rest(std::function<void()> done) {
    context_.app.syncManager().stopPolling();
    downloads_.suspend([this, done = std::move(done)] {
        if (std::exchange(isAtRest_, true)) return;
        save();
        done();
    });
}

void DownloadRun::giveUp(const std::string& reason, ExitCode code) {
    if (std::exchange(isGivingUp_, true)) return;
    patience_.reset();
    prompt_.close();
    securing_.request_stop();
    fail(reason, code);
    rest([this] { checkSoon(); });
}

void DownloadRun::interrupt(std::function<void(ExitCode)> done) {
    const bool hasBegun = changes_.isActive();
    const bool isSecuring = watchingSecuring_.isActive();
    watchingSecuring_.reset();
    prompt_.close();
    rest([this, hasBegun, isSecuring, done = std::move(done)] {
        const auto unsecured = isSecuring ? downloads_.unsecuredFolders() : std::set<std::filesystem::path>();
        if (hasBegun) {
            changes_.reset();
            reporter_->end();
            tellStop(unsecured);
        }
        done(unsecured.empty() ? ExitCode::interrupted : ExitCode::failure);
    });
}

void DownloadRun::tellStop(const std::set<std::filesystem::path>& unsecured) {
    if (unsecured.empty()) context_.terminal.message(fmt::format("Stopped. Go on with: tovri-cli {}", successor()));
    for (const std::filesystem::path& folder : unsecured)
        context_.terminal.message(
            fmt::format("Stopped. Whether all that arrived in {} is on the disk is not known: a loss of power may take "
                        "it. Make sure with: tovri-cli {}",
                        printable(folder.native()), successor()));
}

}  // namespace tovri::cli
