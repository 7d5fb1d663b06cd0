#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>

#include <fmt/format.h>
#include <unistd.h>

#include "app/TovriApp.h"
#include "base/PlainText.h"
#include "base/TaskScope.h"
#include "base/Trimmed.h"
#include "cli/CommandContext.h"
#include "cli/RunDefaults.h"
#include "cli/StandardTerminal.h"
#include "cli/TerminalLog.h"
#include "cli/TerminalSignIn.h"
#include "cli/commands/Command.h"
#include "cli/commands/ConfigCommand.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/folders/XDGFolders.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/loop/SystemSleepClock.h"
#include "platform/posix/process/CoreDumps.h"
#include "platform/posix/process/DataFolderLock.h"
#include "platform/posix/process/LeftUploads.h"
#include "platform/posix/process/PackageManagerUpdater.h"
#include "platform/posix/stores/EnvironmentCredentialStore.h"
#include "platform/posix/stores/FileCredentialStore.h"
#include "platform/posix/stores/FileUserDefaults.h"
#include "platform/secret/ChooseCredentialStore.h"
#include "service/signin/SignInRedirect.h"

namespace tovri::cli {
namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// The keyring may ask the user to unlock it: only for a command that needs a stored secret.
bool needsStoredSecret(CommandName command, bool hasToken) {
    switch (command) {
        case CommandName::login:
        case CommandName::logout:
        case CommandName::status:
            return true;
        case CommandName::queue:
        case CommandName::pause:
        case CommandName::resume:
        case CommandName::cancel:
        case CommandName::remove:
        case CommandName::top:
        case CommandName::clear:
        case CommandName::config:
        case CommandName::rulesList:
        case CommandName::rulesEnable:
        case CommandName::rulesDisable:
        case CommandName::rulesRemove:
            return false;  // they ask put.io nothing
        default:
            return !hasToken;
    }
}

// Runs two seconds after the user wanted the program to end: then something else than a volume's thread hangs.
void endAtTheLatest(int /*signal*/) {
    constexpr std::string_view text =
        "tovri-cli: something hangs, so it ended without waiting; what was not saved yet is lost.\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());  // our own words
    ::_exit(static_cast<int>(ExitCode::interrupted));
}

// The adapters of this machine and the core on top of them, for one command.
class Program {
public:
    Program(Invocation invocation, ServiceHosts hosts)
        : invocation_(std::move(invocation)),
          terminal_(
              {[this](int descriptor, std::function<void()> tell) {
                   return loop_.watch(descriptor, PosixMainLoop::Readiness::readable, std::move(tell));
               },
               [this](int descriptor, std::function<void()> tell) {
                   return loop_.watch(descriptor, PosixMainLoop::Readiness::writable, std::move(tell));
               },
               [this](int signal, std::function<void()> tell) { return loop_.onSignal(signal, std::move(tell)); }}),
          log_(loop_, terminal_,
               invocation_.has("--json") ? TerminalLog::Stream::messages : TerminalLog::Stream::output),
          storedDefaults_(files_, log_, folders_.configuration / "preferences.json"),
          runDefaults_(storedDefaults_),
          secretsInFile_(files_, folders_.state / "credentials.json"),
          secrets_(chooseSecrets()),
          credentials_(*secrets_, token_),
          lock_(acquireLock()),
          app_({platform_, http_, transfers_, credentials_, replaced(), signIn_, updates_, hosts},
               invocation_.command == CommandName::watch ? TovriApp::Polling::whileSignedIn : TovriApp::Polling::never),
          api_(app_.makeClient()),
          context_{platform_,
                   terminal_,
                   log_,
                   app_,
                   app_.authManager(),
                   api_,
                   app_.preferences(),
                   std::move(invocation_),
                   std::filesystem::current_path(),
                   token_.has_value(),
                   folders_.configuration,
                   [this] { return storedDefaults_.isSaved(); },
                   [this](KeychainItem item, const std::string& value) {
                       return load(*secrets_, item) == value || (item == KeychainItem::accessToken && token_ == value);
                   },
                   [this] { return forgetToken(); }} {}

    ExitCode run() {
        if (token_ && !token_->empty() && !isAccessToken(trimmed(*token_)))
            terminal_.message(
                "TOVRI_TOKEN holds no access token: those have no blanks, line breaks or other controls.");
        removeLeftUploads(folders_.standard.temporary);
        const Subscription signals[] = {onEnding(SIGINT), onEnding(SIGTERM), onEnding(SIGHUP)};
        if (lock_ && !*lock_) {
            const Error& reason = lock_->error();
            end(context_.fail(reason.description,
                              reason.code == ErrorCase::inUse ? ExitCode::inUse : ExitCode::failure));
        } else {
            app_.preferences().refreshDownloadFolderBookmark();
            command_ = makeCommand(context_);
            tasks_.emplace();
            tasks_->start(work());
        }
        loop_.run();
        tasks_.reset();
        command_.reset();
        leaveHangingVolumes();
        return code_;
    }

private:
    UserDefaults& replaced() {
        if (const auto jobs = invocation_.value("--jobs"))
            runDefaults_.replaceInteger(preference::maxConcurrentDownloads.key, parseCount(*jobs).value_or(1));
        if (const auto what = invocation_.value("--on-conflict"))
            runDefaults_.replaceString(
                preference::conflictBehavior.key,
                std::string(rawValue(parseBehavior(*what).value_or(ConflictBehavior::keepBoth))));
        if (const auto rate = invocation_.value("--limit-rate"))
            replaceLimit(parseRate(*rate).value_or(BytesPerSecond()));
        return runDefaults_;
    }

    void replaceLimit(BytesPerSecond rate) {
        runDefaults_.replaceBoolean(preference::limitSpeed.key, rate.count > 0);
        runDefaults_.replaceInteger(preference::speedLimit.key, rate.count);
        runDefaults_.replaceString(preference::speedTimetable.key, "");
    }

    // Before anything is read that the command will write.
    std::optional<Result<DataFolderLock>> acquireLock() {
        if (definitionOf(invocation_.command).queue == QueueUse::none) return std::nullopt;
        return DataFolderLock::acquire(folders_.standard.applicationData, programName);
    }

    std::unique_ptr<CredentialStore> chooseSecrets() {
        if (!needsStoredSecret(invocation_.command, token_.has_value()))
            return std::make_unique<FileCredentialStore>(files_, folders_.state / "credentials.json");
        return chooseCredentialStore(secretsInFile_, [this](const std::string& reason) {
            terminal_.message(
                fmt::format("No keyring keeps the secrets ({}); they are kept in {}, which only you can read.", reason,
                            (folders_.state / "credentials.json").native()));
        });
    }

    // Which of them has it depends on whether the keyring answered when somebody signed in.
    bool forgetToken() {
        for (CredentialStore* store : {secrets_.get(), static_cast<CredentialStore*>(&secretsInFile_)}) {
            remove(*store, KeychainItem::accessToken);
            if (load(*store, KeychainItem::accessToken)) return false;
        }
        return true;
    }

    Task<> work() {
        const ExitCode code = co_await command_->run(tasks_->stopToken());
        if (!isInterrupted_) end(code);
    }

    Subscription onEnding(int signal) {
        return loop_.onSignal(signal, [this] { interrupt(); });
    }

    // After the diagnostic lines that wait, and when the readers have taken all; an interrupted program has no time.
    void end(ExitCode code) {
        hasEnded_ = true;
        loop_.post([this, code] {
            code_ = code;
            quitWhenTaken();
            if (isInterrupted_) patience_ = loop_.schedule(std::chrono::milliseconds(200), [this] { loop_.quit(); });
        });
    }

    void quitWhenTaken() {
        terminal_.whenTaken([this] {
            if (!terminal_.hasLostOutput() || std::exchange(hasToldLoss_, true)) return loop_.quit();
            context_.complain("standard output could not be written; is the disk full?");
            if (code_ == ExitCode::success) code_ = ExitCode::failure;
            quitWhenTaken();
        });
    }

    // What still runs on a volume after that uses what would be taken down here.
    void leaveHangingVolumes() {
        if (volumes_.finish(VolumeQueues::patienceAtEnd)) return;
        terminal_.restore();
        std::_Exit(static_cast<int>(code_));
    }

    // The user is not kept waiting, whatever hangs; the second time not at all.
    void interrupt() {
        if (std::exchange(isInterrupted_, true)) {
            terminal_.showLive({});
            terminal_.restore();
            std::_Exit(static_cast<int>(ExitCode::interrupted));
        }
        std::signal(SIGALRM, endAtTheLatest);
        ::alarm(2);
        volumes_.limitWaits(VolumeQueues::patienceAtEnd);
        if (hasEnded_) return end(ExitCode::interrupted);
        command_->interrupt([this](ExitCode code) { end(code); });
    }

    Invocation invocation_;
    XDGFolders folders_ = XDGFolders::fromEnvironment();
    std::optional<std::string> token_ = EnvironmentCredentialStore::tokenOfEnvironment();
    PosixMainLoop loop_;
    StandardTerminal terminal_;
    TerminalLog log_;
    SystemClock clock_;
    SystemRandom random_;
    PosixFileManager files_;
    PathFolderAccess folderAccess_;
    PosixBackgroundQueue background_{loop_};
    PosixVolumeQueues volumes_;
    SystemSleepClock sleepClock_;
    Platform platform_{loop_,    clock_, random_,           files_,      folderAccess_, background_,
                       volumes_, log_,   folders_.standard, &sleepClock_};
    FileUserDefaults storedDefaults_;
    RunDefaults runDefaults_;
    FileCredentialStore secretsInFile_;
    std::unique_ptr<CredentialStore> secrets_;
    EnvironmentCredentialStore credentials_;
    TerminalSignIn signIn_{terminal_};
    PackageManagerUpdater updates_;
    CurlHTTPSession http_{loop_, sleepClock_};
    CurlTransferSession transfers_{loop_, sleepClock_};
    std::optional<Result<DataFolderLock>> lock_;
    TovriApp app_;
    PutIOAPI api_;
    CommandContext context_;
    ExitCode code_ = ExitCode::failure;
    bool hasEnded_ = false;  // the command; its output may still wait for a reader
    bool isInterrupted_ = false;
    bool hasToldLoss_ = false;
    std::unique_ptr<Command> command_;
    Subscription patience_;
    std::optional<TaskScope> tasks_;
};

ExitCode complain(const std::string& text) {
    fmt::print(stderr, "{}\n", plainLines(text));
    return ExitCode::wrongArguments;
}

ExitCode runProgram(std::vector<std::string> arguments) {
    auto parsed = parseArguments(std::move(arguments));
    if (const auto* wrong = std::get_if<WrongArguments>(&parsed)) return complain(wrong->message);
    if (const auto* requested = std::get_if<RequestedText>(&parsed)) {
        std::fwrite(requested->text.data(), 1, requested->text.size(), stdout);  // our own words
        return std::fflush(stdout) == 0 ? ExitCode::success : ExitCode::failure;
    }
    const Result<ServiceHosts> hosts =
        serviceHosts({environment("TOVRI_API_URL"), environment("TOVRI_UPLOAD_URL"), environment("TOVRI_WEB_URL")});
    if (!hosts) return complain(fmt::format("{}: {}", programName, hosts.error().description));
    Program program(std::move(std::get<Invocation>(parsed)), *hosts);
    return program.run();
}

}  // namespace
}  // namespace tovri::cli

int main(int count, char** arguments) {
    tovri::forbidCoreDumps();
    std::signal(SIGPIPE, SIG_IGN);  // where nobody reads any more, writing fails instead
    return static_cast<int>(tovri::cli::runProgram({arguments + 1, arguments + count}));
}
