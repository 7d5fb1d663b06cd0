#include <QApplication>
#include <QDeadlineTimer>
#include <QSocketNotifier>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>

#include "app/TovriApp.h"
#include "base/Trimmed.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/icu/ICUTextCollation.h"
#include "platform/posix/files/PosixEntryLook.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/folders/XDGFolders.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/loop/SystemSleepClock.h"
#include "platform/posix/process/CoreDumps.h"
#include "platform/posix/process/DataFolderLock.h"
#include "platform/posix/process/EndingSignals.h"
#include "platform/posix/process/LeftUploads.h"
#include "platform/posix/process/PackageManagerUpdater.h"
#include "platform/posix/process/StandardOutputLog.h"
#include "platform/posix/stores/EnvironmentCredentialStore.h"
#include "platform/posix/stores/FileCredentialStore.h"
#include "platform/posix/stores/FileUserDefaults.h"
#include "platform/qt/BrowserAuthentication.h"
#include "platform/qt/DesktopServices.h"
#include "platform/qt/QtMainLoop.h"
#include "platform/qt/QtWorkspace.h"
#include "platform/qt/SingleInstance.h"
#include "platform/secret/ChooseCredentialStore.h"
#include "platform/secret/CredentialCache.h"
#include "service/signin/KeychainItem.h"
#include "service/signin/SignInRedirect.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Theme.h"
#include "widgets/window/Desktop.h"
#include "widgets/window/WaitingWindow.h"

namespace tovri {
namespace {

enum ExitCode { success = 0, failed = 1, wrongArguments = 2 };

constexpr auto usage =
    "Usage: tovri [--help] [--version] [ADDRESS]\n"
    "\n"
    "Opens the window of Tovri, a download manager for put.io. Where Tovri runs already,\n"
    "its window comes forward.\n"
    "\n"
    "ADDRESS is where put.io's sign-in page sends the browser: tovri-putio://callback#...\n"
    "\n"
    "tovri-cli does the same in a terminal.\n";

constexpr auto addressScheme = "tovri-putio:";

std::optional<std::string> environment(const char* name) {
    if (!qEnvironmentVariableIsSet(name)) return std::nullopt;
    return qgetenv(name).toStdString();
}

// The adapters of this machine and, once it is known who is signed in, the application on top of them.
class Program {
public:
    Program(SingleInstance& instance, XDGFolders folders, ServiceHosts hosts)
        : instance_(instance), folders_(std::move(folders)), hosts_(std::move(hosts)) {}

    int run(const QString& address) {
        if (token_ && !token_->empty() && !isAccessToken(trimmed(*token_)))
            log_.line("[Tovri] TOVRI_TOKEN holds no access token, so nobody is signed in by it");
        if (!address.isEmpty()) receive(address);
        instance_.listen([this](const QString& called) { receive(called); });
        QSocketNotifier ending(signals_.descriptor(), QSocketNotifier::Read);
        QObject::connect(&ending, &QSocketNotifier::activated, qApp, [this, &ending] {
            ending.setEnabled(false);  // or it would be activated again and again
            quit();
        });
        QTimer::singleShot(keyringPatience, qApp, [this] { showWaiting(); });
        const int code = QApplication::exec();
        // What still runs on a volume after that uses what would be taken down here.
        if (!volumes_.finish(VolumeQueues::patienceAtEnd)) std::_Exit(code);
        return code;
    }

private:
    // A keyring that is there and open has long answered by then.
    static constexpr std::chrono::milliseconds keyringPatience{200};

    // In the window that waits a person finds out what the keyring wants, and can do without it.
    static constexpr SecretServiceCredentialStore::Limits keyringLimits{.unlock = std::chrono::minutes(5)};

    std::unique_ptr<CredentialStore> openSecrets(const std::stop_token& stop) {
        if (token_) return std::make_unique<FileCredentialStore>(files_, folders_.state / "credentials.json");
        const auto tell = [this](const std::string& reason) {
            // At once: the program may be ending, and its loop take no more.
            log_.line("[Tovri] No keyring keeps the secrets (" + reason + "); they are kept in " +
                      (folders_.state / "credentials.json").native() + ", which only you can read.");
        };
        return chooseCredentialStore(secretsInFile_, tell, keyringLimits, stop);
    }

    void start() {
        app_.emplace(TovriApp::Ports{platform_, http_, transfers_, credentials_, defaults_, signIn_, updates_, hosts_});
        app_->setup();
        // The session ends: there may be no time for more than what is in memory.
        QObject::connect(
            qApp, &QGuiApplication::commitDataRequest, qApp,
            [this] { (void)app_->appDelegate().applicationWillTerminate(); }, Qt::DirectConnection);
        desktop_.emplace(Desktop::Surroundings{*app_, platform_, defaults_, workspace_, collation_, inhibitor_,
                                               notifications_, hosts_, TrayIcon::isAvailable, log_, entries_},
                         [](const Result<void>& saved) { saved ? end() : endUnsaved(saved.error().description); });
        defaults_.onFailure([this](const std::string& reason) {
            if (desktop_) desktop_->tellUnsavedSettings(reason);
        });
        QObject::connect(&*desktop_, &Desktop::ending, qApp, [this] { instance_.close(); });
        if (waiting_) desktop_->window().setGeometry(waiting_->geometry());
        desktop_->open();
        waiting_.reset();
        if (called_) desktop_->receive(*std::exchange(called_, std::nullopt));
    }

    void showWaiting() {
        if (desktop_) return;
        waiting_.emplace();
        QObject::connect(&*waiting_, &WaitingWindow::goOnWanted, qApp, [this] { secrets_.hurry(); });
        QObject::connect(&*waiting_, &WaitingWindow::closingWanted, qApp, [this] { quit(); });
        waiting_->show();
    }

    void receive(const QString& address) {
        if (desktop_) return desktop_->receive(address.toStdString());
        if (waiting_) waiting_->activateWindow();
        if (!called_ || !address.isEmpty()) called_ = address.toStdString();
    }

    void quit() {
        if (desktop_) return desktop_->quit();
        instance_.close();
        end();
    }

    // Qt's own quit() would ask every window that is open, and a sheet that wants an answer refuses.
    static void end() { QCoreApplication::exit(); }

    // Said where the user looks. A session that ends does not wait for an answer.
    static void endUnsaved(const std::string& reason) {
        constexpr int patience = 20'000;  // milliseconds
        StandardOutputLog(stderr).line("tovri: " + reason);
        warnInBox(QString::fromStdString(reason), patience);
        QCoreApplication::exit(failed);
    }

    SingleInstance& instance_;
    XDGFolders folders_;
    ServiceHosts hosts_;
    std::optional<std::string> token_ = EnvironmentCredentialStore::tokenOfEnvironment();
    EndingSignals signals_;
    QtMainLoop loop_;
    StandardOutputLog output_;
    KeptLog log_{output_, loop_};
    SystemClock clock_;
    SystemRandom random_;
    PosixFileManager files_;
    PosixEntryLook entries_;
    PathFolderAccess folderAccess_;
    PosixBackgroundQueue background_{loop_};
    PosixVolumeQueues volumes_;
    SystemSleepClock sleepClock_;
    Platform platform_{loop_,    clock_, random_,           files_,      folderAccess_, background_,
                       volumes_, log_,   folders_.standard, &sleepClock_};
    FileUserDefaults defaults_{files_, log_, folders_.configuration / "preferences.json"};
    FileCredentialStore secretsInFile_{files_, folders_.state / "credentials.json"};
    QtWorkspace workspace_;
    ICUTextCollation collation_{""};
    SessionSleepInhibitor inhibitor_;
    SessionNotifications notifications_;
    BrowserAuthentication signIn_{workspace_};
    PackageManagerUpdater updates_;
    CurlHTTPSession http_{loop_, sleepClock_};
    CurlTransferSession transfers_{loop_, sleepClock_};
    CredentialCache secrets_{loop_,
                             [this](const std::stop_token& stop) { return openSecrets(stop); },
                             {accountName(KeychainItem::clientID), accountName(KeychainItem::accessToken)},
                             [this] { start(); }};
    EnvironmentCredentialStore credentials_{secrets_, token_};
    std::optional<TovriApp> app_;
    std::optional<Desktop> desktop_;
    std::optional<WaitingWindow> waiting_;
    std::optional<std::string> called_;  // by a second start, before the desktop stands
};

int complain(const QString& text) {
    StandardOutputLog(stderr).line("tovri: " + text.toStdString());
    return wrongArguments;
}

// Before anything asks for a display.
bool answeredWithoutWindow(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        const QByteArrayView argument(arguments[i]);
        if (argument == "--help" || argument == "-h") {
            QTextStream(stdout) << usage;  // our own words
            return true;
        }
        if (argument == "--version") {
            QTextStream(stdout) << "tovri " << TOVRI_VERSION << '\n';  // our own words
            return true;
        }
    }
    return false;
}

// None when another program has the downloads in hand and has taken the call: its window comes forward. One that cannot
// be reached may be just coming, or going; it fails when that has not changed for a while.
Result<std::optional<DataFolderLock>> lockOrCall(const std::filesystem::path& folder, const SingleInstance& instance,
                                                 const QString& address) {
    constexpr std::chrono::seconds patience{3};
    const QDeadlineTimer end(patience);
    while (true) {
        Result<DataFolderLock> lock = DataFolderLock::acquire(folder, "tovri");
        if (lock) return std::optional(std::move(*lock));
        if (instance.call(address)) return std::nullopt;
        if (end.hasExpired()) return failure(lock);
        QThread::msleep(50);
    }
}

// The addresses that the program was given, each of which is empty text there from now on: every user can read every
// process's arguments, and an address holds a token.
QStringList takeAddresses(int count, char** arguments) {
    QStringList taken;
    for (int i = 1; i < count; ++i) {
        const QString argument = QString::fromLocal8Bit(arguments[i]);
        if (!argument.startsWith(addressScheme)) continue;
        taken << argument;
        std::memset(arguments[i], 0, std::strlen(arguments[i]));
    }
    return taken;
}

// Without what is meant for the toolkit.
QStringList ownArguments(QStringList addresses) {
    QStringList arguments = QApplication::arguments().mid(1);
    for (QString& argument : arguments)
        if (argument.isEmpty() && !addresses.isEmpty()) argument = addresses.takeFirst();
    return arguments;
}

int runProgram(const QStringList& arguments) {
    if (arguments.size() > 1 || (!arguments.isEmpty() && !arguments.constFirst().startsWith(addressScheme)))
        return complain(QStringLiteral("expected nothing, or one address that begins with %1 (see tovri --help)")
                            .arg(addressScheme));
    const QString address = arguments.value(0);
    const Result<ServiceHosts> hosts =
        serviceHosts({environment("TOVRI_API_URL"), environment("TOVRI_UPLOAD_URL"), environment("TOVRI_WEB_URL")});
    if (!hosts) return complain(QString::fromStdString(hosts.error().description));

    const XDGFolders folders = XDGFolders::fromEnvironment();
    SingleInstance instance(folders.standard.applicationData);
    const auto lock = lockOrCall(folders.standard.applicationData, instance, address);
    if (!lock) {
        warnInBox(QString::fromStdString(lock.error().description));
        return failed;
    }
    if (!*lock) return success;
    removeLeftUploads(folders.standard.temporary);
    Program program(instance, folders, *hosts);
    return program.run(address);
}

}  // namespace
}  // namespace tovri

int main(int count, char** arguments) {
    tovri::forbidCoreDumps();
    std::signal(SIGPIPE, SIG_IGN);  // where nobody reads any more, writing fails instead
    if (tovri::answeredWithoutWindow(count, arguments)) return tovri::success;
    const QStringList addresses = tovri::takeAddresses(count, arguments);
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("tovri"));
    QApplication::setApplicationVersion(QStringLiteral(TOVRI_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("tovri"));
    QApplication::setQuitOnLastWindowClosed(false);
    tovri::Theme theme(application);
    theme.followDesktop();
    return tovri::runProgram(tovri::ownArguments(addresses));
}
