#pragma once

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "platform/posix/process/PackageManagerUpdater.h"
#include "platform/qt/BrowserAuthentication.h"
#include "support/FakeEntryLook.h"
#include "support/FakeFolderAccess.h"
#include "support/FakeWorkspace.h"
#include "support/MemoryFileManager.h"
#include "support/MemoryStores.h"
#include "support/PlainTextCollation.h"
#include "support/ScriptedSessions.h"
#include "support/SeededRandom.h"
#include "support/SimulatedTransferSession.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"
#include "tests/widgets/Seen.h"
#include "widgets/window/Desktop.h"

namespace tovri::test {

struct NoInhibitor final : SleepInhibitor {
    Subscription keepAwake(const std::string& /*reason*/) override { return {}; }
};

struct NoNotifications final : UserNotifications {
    void show(const std::string& /*title*/, const std::string& /*text*/) override {}
};

// The whole desktop on simulated ports, in virtual time. The account is empty but for what a test queues.
class DesktopFixture : public testing::Test {
public:
    DesktopFixture() {
        http.handler = [this](const HTTPRequest& request) -> Result<HTTPResponse> {
            const bool isAccount = accountInfo && request.url.ends_with("/account/info");
            return isAccount ? HTTPResponse{200, *accountInfo} : answer(request);
        };
        defaults.setString("conflictBehavior", "ask");
    }

    // As a process that starts.
    void start() {
        app = std::make_unique<TovriApp>(
            TovriApp::Ports{platform, http, transfers, credentials, *settings, web, updater, {}});
        app->setup();
        desktop = std::make_unique<Desktop>(Desktop::Surroundings{*app,
                                                                  platform,
                                                                  *settings,
                                                                  workspace,
                                                                  collation,
                                                                  inhibitor,
                                                                  notifications,
                                                                  {},
                                                                  [this] { return hasTray; },
                                                                  keptLog,
                                                                  entries},
                                            [this](const Result<void>& saved) {
                                                hasEnded = true;
                                                EXPECT_TRUE(saved);
                                            });
        desktop->open();
        settle();
    }

    void startSignedIn() {
        credentials.values["accessToken"] = "secret";
        start();
    }

    MainWindow& window() { return desktop->window(); }

    // Runs what is due, and what Qt has to do after it.
    void settle(MainLoop::Duration time = std::chrono::milliseconds(200)) {
        loop.advance(time);
        test::settle();
    }

    // --- what a user sees ---

    // The button with this title, or this name, that is on screen; null when there is none.
    static QAbstractButton* button(const QWidget& root, const QString& title) {
        for (auto* found : root.findChildren<QAbstractButton*>())
            if (found->isVisible() && (found->text() == title || found->accessibleName() == title)) return found;
        return nullptr;
    }

    // Whether a text stands on screen.
    static bool shows(const QWidget& root, const QString& text) {
        for (const auto* label : root.findChildren<QLabel*>())
            if (label->isVisible() && label->text() == text) return true;
        return false;
    }

    // The field on screen of this accessible name.
    template <class Field>
    static Field* field(const QWidget& root, const QString& name) {
        for (auto* found : root.findChildren<Field*>())
            if (found->isVisible() && found->accessibleName() == name) return found;
        return nullptr;
    }

    // --- what a user does ---

    void press(const QWidget& root, const QString& title) {
        QAbstractButton* found = button(root, title);
        ASSERT_TRUE(found) << "no button " << title.toStdString();
        ASSERT_TRUE(found->isEnabled()) << title.toStdString() << " is disabled";
        QTest::mouseClick(found, Qt::LeftButton);
        settle();
    }

    static void type(QLineEdit& field, const QString& text) {
        field.setFocus();
        field.selectAll();
        QTest::keyClicks(&field, text);
    }

    void key(Qt::Key pressed, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&window(), pressed, modifiers);
        settle();
    }

    // Queues a file of put.io's.
    ConstDownloadPointer download(std::int64_t id, const std::string& name, std::string content = "new") {
        storage.links["https://storage.put.io/" + std::to_string(id)].content = content;
        PutIOFile file;
        file.id = FileID(id);
        file.name = name;
        file.size = static_cast<std::int64_t>(content.size());
        return app->downloadManager().enqueue(file, {});
    }

    VirtualLoop loop;
    VirtualClock clock{loop};
    VirtualBackgroundQueue background{loop};
    VirtualVolumeQueues volumes{loop};
    SeededRandom random;
    MemoryFileManager files;
    FakeEntryLook entries{files};
    FakeFolderAccess access;
    RecordingLog log;
    KeptLog keptLog{log, loop};
    Platform platform{
        loop, clock, random, files, access, background, volumes, keptLog, {"/home/user", "/data/Tovri", "/tmp"}};
    MemoryUserDefaults defaults;
    UserDefaults* settings = &defaults;  // what the program keeps them in
    MemoryCredentialStore credentials;
    ScriptedHTTPSession http{loop};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    FakeWorkspace workspace;
    BrowserAuthentication web{workspace};
    PackageManagerUpdater updater;
    PlainTextCollation collation;
    NoInhibitor inhibitor;
    NoNotifications notifications;
    std::optional<std::string> accountInfo;  // as put.io tells it; none: not
    bool hasTray = true;
    bool hasEnded = false;
    std::unique_ptr<TovriApp> app;
    std::unique_ptr<Desktop> desktop;

private:
    static Result<HTTPResponse> answer(const HTTPRequest& request) {
        const auto at = request.url.find("/v2/files/");
        if (at != std::string::npos && request.url.ends_with("/url")) {
            const std::string id = request.url.substr(at + 10, request.url.size() - at - 14);
            return HTTPResponse{200, R"({"url":"https://storage.put.io/)" + id + R"(","status":"OK"})"};
        }
        return HTTPResponse{200, R"({"files":[],"transfers":[],"feeds":[],"status":"OK"})"};
    }
};

}  // namespace tovri::test
