#include <QApplication>
#include <QMessageBox>
#include <QSocketNotifier>
#include <QTextStream>
#include <QTimer>
#include <csignal>
#include <memory>
#include <optional>

#include "app/TovriApp.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/icu/ICUTextCollation.h"
#include "platform/posix/DataFolderLock.h"
#include "platform/posix/EndingSignals.h"
#include "platform/posix/EnvironmentCredentialStore.h"
#include "platform/posix/FileCredentialStore.h"
#include "platform/posix/FileUserDefaults.h"
#include "platform/posix/PackageManagerUpdater.h"
#include "platform/posix/PathFolderAccess.h"
#include "platform/posix/PosixBackgroundQueue.h"
#include "platform/posix/PosixFileManager.h"
#include "platform/posix/StandardOutputLog.h"
#include "platform/posix/SystemClock.h"
#include "platform/posix/SystemRandom.h"
#include "platform/posix/XDGFolders.h"
#include "platform/qt/BrowserAuthentication.h"
#include "platform/qt/DesktopServices.h"
#include "platform/qt/QtMainLoop.h"
#include "platform/qt/QtWorkspace.h"
#include "platform/qt/SingleInstance.h"
#include "platform/secret/ChooseCredentialStore.h"
#include "widgets/theme/Theme.h"
#include "widgets/window/Desktop.h"

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

// The adapters of this machine and the application on top of them.
class Program {
public:
    Program(XDGFolders folders, ServiceHosts hosts)
        : folders_(std::move(folders)),
          secrets_(chooseSecrets()),
          credentials_(*secrets_, token_),
          app_({platform_, http_, [this](TransferDelegate& delegate) { return makeTransfers(delegate); }, credentials_,
                defaults_, signIn_, updates_, hosts}) {
        app_.setup();
        desktop_.emplace(Desktop::Surroundings{app_, platform_, defaults_, workspace_, collation_, inhibitor_,
                                               notifications_, std::move(hosts), TrayIcon::isAvailable},
                         [] { QCoreApplication::quit(); });
    }

    int run(SingleInstance& instance, const QString& address) {
        instance.listen([this](const QString& called) { desktop_->receive(called.toStdString()); });
        const QSocketNotifier ending(signals_.descriptor(), QSocketNotifier::Read);
        QObject::connect(&ending, &QSocketNotifier::activated, &*desktop_, &Desktop::quit);
        // The session ends: there may be no time for more than what is in memory.
        QObject::connect(
            qApp, &QGuiApplication::commitDataRequest, &*desktop_,
            [this] { app_.appDelegate().applicationWillTerminate(); }, Qt::DirectConnection);
        desktop_->open();
        if (!address.isEmpty()) desktop_->receive(address.toStdString());
        return QApplication::exec();
    }

private:
    std::unique_ptr<CredentialStore> chooseSecrets() {
        if (token_) return std::make_unique<FileCredentialStore>(files_, folders_.state / "credentials.json");
        return chooseCredentialStore(secretsInFile_, [this](const std::string& reason) {
            log_.line("[Tovri] No keyring keeps the secrets (" + reason + "); they are kept in " +
                      (folders_.state / "credentials.json").native() + ", which only you can read.");
        });
    }

    std::unique_ptr<TransferSession> makeTransfers(TransferDelegate& delegate) {
        return std::make_unique<CurlTransferSession>(delegate, folders_.standard.applicationData / "Partial", random_);
    }

    XDGFolders folders_;
    std::optional<std::string> token_ = EnvironmentCredentialStore::tokenOfEnvironment();
    EndingSignals signals_;
    QtMainLoop loop_;
    StandardOutputLog log_;
    SystemClock clock_;
    SystemRandom random_;
    PosixFileManager files_;
    PathFolderAccess folderAccess_;
    PosixBackgroundQueue background_{loop_};
    Platform platform_{loop_, clock_, random_, files_, folderAccess_, background_, log_, folders_.standard};
    FileUserDefaults defaults_{files_, log_, folders_.configuration / "preferences.json"};
    FileCredentialStore secretsInFile_{files_, folders_.state / "credentials.json"};
    std::unique_ptr<CredentialStore> secrets_;
    EnvironmentCredentialStore credentials_;
    QtWorkspace workspace_;
    ICUTextCollation collation_{""};
    SessionSleepInhibitor inhibitor_;
    SessionNotifications notifications_;
    BrowserAuthentication signIn_{workspace_};
    PackageManagerUpdater updates_;
    CurlHTTPSession http_{loop_};
    TovriApp app_;
    std::optional<Desktop> desktop_;
};

int complain(const QString& text) {
    QTextStream(stderr) << "tovri: " << text << '\n';
    return wrongArguments;
}

// Before anything asks for a display.
bool answeredWithoutWindow(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        const QByteArrayView argument(arguments[i]);
        if (argument == "--help" || argument == "-h") {
            QTextStream(stdout) << usage;
            return true;
        }
        if (argument == "--version") {
            QTextStream(stdout) << "tovri " << TOVRI_VERSION << '\n';
            return true;
        }
    }
    return false;
}

// Another program has the downloads in hand: a window of ours that comes forward, or one that cannot be reached.
int callHolder(const SingleInstance& instance, const QString& address, const Error& inUse) {
    if (instance.call(address)) return success;
    QMessageBox::warning(nullptr, QStringLiteral("Tovri"), QString::fromStdString(inUse.description));
    return failed;
}

int runProgram() {
    const QStringList arguments = QApplication::arguments().mid(1);
    if (arguments.size() > 1 || (!arguments.isEmpty() && !arguments.constFirst().startsWith(addressScheme)))
        return complain(QStringLiteral("expected nothing, or one address that begins with %1 (see tovri --help)")
                            .arg(addressScheme));
    const QString address = arguments.value(0);
    const Result<ServiceHosts> hosts =
        serviceHosts({environment("TOVRI_API_URL"), environment("TOVRI_UPLOAD_URL"), environment("TOVRI_WEB_URL")});
    if (!hosts) return complain(QString::fromStdString(hosts.error().description));

    const XDGFolders folders = XDGFolders::fromEnvironment();
    SingleInstance instance(folders.standard.applicationData);
    const Result<DataFolderLock> lock = DataFolderLock::acquire(folders.standard.applicationData, "tovri");
    if (!lock) return callHolder(instance, address, lock.error());
    Program program(folders, *hosts);
    return program.run(instance, address);
}

}  // namespace
}  // namespace tovri

int main(int count, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);  // where nobody reads any more, writing fails instead
    if (tovri::answeredWithoutWindow(count, arguments)) return tovri::success;
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("tovri"));
    QApplication::setApplicationVersion(QStringLiteral(TOVRI_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("tovri"));
    QApplication::setQuitOnLastWindowClosed(false);
    tovri::Theme theme(application);
    theme.followDesktop();
    return tovri::runProgram();
}
