#pragma once

#include <QTemporaryDir>
#include <functional>
#include <optional>
#include <string>

#include "app/TovriApp.h"
#include "platform/curl/CurlHTTPSession.h"
#include "platform/curl/CurlTransferSession.h"
#include "platform/icu/ICUTextCollation.h"
#include "platform/posix/files/PosixEntryLook.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/loop/SystemSleepClock.h"
#include "platform/posix/process/PackageManagerUpdater.h"
#include "platform/qt/BrowserAuthentication.h"
#include "platform/qt/QtMainLoop.h"
#include "sandbox/Sandbox.h"
#include "tests/support/FakeWorkspace.h"
#include "tests/support/MemoryStores.h"
#include "widgets/window/Desktop.h"

namespace tovri::screenshots {

// The program as its main makes it, in a home of its own, on the demonstration account of a sandbox in this process.
// What belongs to the desktop of whoever makes the pictures stands apart: browser, clipboard, keyring, notifications,
// tray.
class Demonstration {
public:
    Demonstration();
    ~Demonstration();
    Demonstration(const Demonstration&) = delete;
    Demonstration& operator=(const Demonstration&) = delete;

    TovriApp& app() { return *app_; }

    Desktop& desktop() { return *desktop_; }

    test::FakeWorkspace& workspace() { return workspace_; }

    [[nodiscard]] std::filesystem::path home() const { return home_.path().toStdString(); }

    // As docs/sandbox.md says how they are written.
    void strikeWith(std::string_view fault);
    void strikeNoMore();

    // Of the account, by its path.
    [[nodiscard]] PutIOFile fileAt(std::string_view path);

    // Lets the program run until then; throws when that takes unusually long.
    void waitUntil(const std::function<bool()>& isSo, std::string_view what);

private:
    struct NoInhibitor final : SleepInhibitor {
        Subscription keepAwake(const std::string& /*reason*/) override { return {}; }
    };

    struct NoNotifications final : UserNotifications {
        void show(const std::string& /*title*/, const std::string& /*text*/) override {}
    };

    [[nodiscard]] Platform platform();

    QTemporaryDir home_;
    sandbox::Sandbox sandbox_;
    QtMainLoop loop_;
    test::RecordingLog log_;
    KeptLog keptLog_{log_, loop_};
    SystemClock clock_;
    SystemRandom random_;
    PosixFileManager files_;
    PosixEntryLook entries_;
    PathFolderAccess folderAccess_;
    PosixBackgroundQueue background_{loop_};
    PosixVolumeQueues volumes_;
    test::MemoryUserDefaults defaults_;
    test::MemoryCredentialStore credentials_;
    test::FakeWorkspace workspace_;
    ICUTextCollation collation_{""};
    NoInhibitor inhibitor_;
    NoNotifications notifications_;
    BrowserAuthentication signIn_{workspace_};
    PackageManagerUpdater updates_;
    SystemSleepClock sleepClock_;
    CurlHTTPSession http_{loop_, sleepClock_};
    CurlTransferSession transfers_{loop_, sleepClock_};
    std::optional<TovriApp> app_;
    std::optional<Desktop> desktop_;
};

}  // namespace tovri::screenshots
