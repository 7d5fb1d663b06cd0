#include <QTimer>
#include <iostream>

#include "bench/desktop/BusyTransfers.h"
#include "bench/desktop/MeasuredApplication.h"
#include "bench/desktop/Sections.h"
#include "downloads/PutIODownloadService.h"
#include "platform/icu/ICUTextCollation.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/process/StandardOutputLog.h"
#include "platform/qt/QtMainLoop.h"
#include "support/FakeWorkspace.h"
#include "support/MemoryStores.h"
#include "widgets/downloads/DownloadsView.h"
#include "widgets/rows/RowListView.h"

namespace tovri::bench {
namespace {

constexpr int warmUp = 2'000;     // milliseconds
constexpr int window = 10'000;    // milliseconds
constexpr double frameTime = 16;  // milliseconds

// A service that knows a link for every file.
class LinkService final : public HTTPSession {
public:
    explicit LinkService(MainLoop& loop) : loop_(loop) {}

    Subscription send(HTTPRequest /*request*/, Done done) override {
        return loop_.schedule(std::chrono::milliseconds(20), [done = std::move(done)]() mutable {
            done(HTTPResponse{200, R"({"url":"https://storage.put.io/file","status":"OK"})"});
        });
    }

private:
    MainLoop& loop_;
};

class NoBrowser final : public WebAuthentication {
public:
    Subscription authenticate(const std::string& /*url*/, const std::string& /*scheme*/, Done /*done*/) override {
        return {};
    }
};

// The engine on the real disk, without a network.
class Engine {
public:
    explicit Engine(const std::filesystem::path& folder)
        : platform{loop, clock, random, files, folderAccess, background, volumes, log, {folder, folder, folder}},
          transfers(loop),
          manager(downloadPorts(platform, transfers)) {
        (void)auth.signInWithToken("token");
        manager.configure(service, preferences);
    }

    QtMainLoop loop;
    SystemClock clock;
    SystemRandom random;
    PosixFileManager files;
    PathFolderAccess folderAccess;
    PosixBackgroundQueue background{loop};
    PosixVolumeQueues volumes;
    StandardOutputLog log{stderr};
    Platform platform;
    test::MemoryUserDefaults defaults;
    test::MemoryCredentialStore credentials;
    test::FakeWorkspace workspace;
    LinkService http{loop};
    NoBrowser web;
    Preferences preferences{defaults, folderAccess, platform.folders.home};
    AuthManager auth{credentials, web, loop, ServiceHosts{}};
    PutIOAPI api{auth, http, servicePorts(platform), ServiceHosts{}};
    BusyTransfers transfers;
    PutIODownloadService service{api};
    DownloadManager manager;
};

// Calls once the widget has been drawn and the window shows it.
class FirstFrame final : public QObject {
public:
    FirstFrame(QWidget& widget, std::function<void()> call) : call_(std::move(call)) {
        widget.installEventFilter(this);
    }

    bool eventFilter(QObject* /*watched*/, QEvent* event) override {
        if (event->type() == QEvent::Paint && call_) QTimer::singleShot(0, this, std::exchange(call_, nullptr));
        return false;
    }

private:
    std::function<void()> call_;
};

void printWindow(const std::vector<double>& holds, double processor) {
    std::cout << ", \"holdMilliseconds\": " << quantile(holds, 0.99)
              << ", \"longestHoldMilliseconds\": " << quantile(holds, 1) << ", \"events\": " << holds.size()
              << ", \"longEvents\": " << std::ranges::count_if(holds, [](double hold) { return hold > frameTime; })
              << ", \"processorShare\": " << processor / (window / 1000.0)
              << ", \"peakMiB\": " << processMemory("VmHWM") << "}\n";
}

}  // namespace

int measureQueue(MeasuredApplication& application, const std::filesystem::path& folder, double startedAt) {
    Engine engine(folder);
    engine.manager.restoreQueue();
    SpeedLimit limit(engine.platform.loop);
    SpeedControl speed(engine.platform.loop, engine.platform.clock, engine.preferences, limit);
    Notices notices(engine.loop);
    const ICUTextCollation collation("en_US");
    DesktopPreferences desktop(engine.defaults);
    DownloadsScreen screen({engine.manager, speed, desktop, engine.workspace, notices, collation, engine.loop,
                            engine.clock, engine.random});
    DownloadsView view(screen);
    view.resize(900, 600);
    view.show();
    const FirstFrame frame(*view.findChild<RowListView*>()->viewport(), [startedAt] {
        std::cout << "{\"firstFrameMilliseconds\": " << (monotonicSeconds() - startedAt) * 1000
                  << ", \"firstFrameMiB\": " << processMemory("VmRSS")
                  << ", \"firstFramePeakMiB\": " << processMemory("VmHWM");
    });
    double processor = 0;
    QTimer::singleShot(warmUp, &application, [&] {
        (void)application.takeHolds();
        processor = processorSeconds();
    });
    QTimer::singleShot(warmUp + window, &application, [&] {
        processor = processorSeconds() - processor;
        QApplication::quit();
    });
    QApplication::exec();
    printWindow(application.takeHolds(), processor);
    return engine.manager.activeCount() == 3 ? 0 : 1;
}

}  // namespace tovri::bench
