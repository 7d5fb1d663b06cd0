#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Palettes.h"
#include "widgets/theme/Theme.h"

namespace tovri {
namespace {

constexpr int longestWait = 60'000;  // milliseconds

// A session bus of its own, without any service.
class SessionBus {
public:
    SessionBus() {
        QFile configuration(folder_.filePath("bus.conf"));
        EXPECT_TRUE(configuration.open(QIODevice::WriteOnly));
        configuration.write(R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig><type>session</type><listen>unix:dir=)" +
                            folder_.path().toUtf8() + R"(</listen>
<policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
</busconfig>)");
        configuration.close();
        daemon_.start("dbus-daemon", {"--nofork", "--print-address=1", "--config-file=" + configuration.fileName()});
        if (daemon_.waitForStarted() && daemon_.waitForReadyRead()) address_ = daemon_.readLine().trimmed();
    }

    ~SessionBus() {
        for (const QString& name : names_) QDBusConnection::disconnectFromBus(name);
        daemon_.kill();
        daemon_.waitForFinished();
    }

    [[nodiscard]] bool isThere() const { return !address_.isEmpty(); }

    QDBusConnection connect(const QString& name) {
        names_ << name;
        return QDBusConnection::connectToBus(address_, name);
    }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
    QString address_;
    QStringList names_;
};

// The desktop's settings portal, which knows whether the desktop is dark.
class Portal final : public QDBusVirtualObject {
public:
    explicit Portal(const QDBusConnection& bus) : bus_(bus) {
        EXPECT_TRUE(bus_.registerVirtualObject(path, this));
        EXPECT_TRUE(bus_.registerService("org.freedesktop.portal.Desktop"));
    }

    ~Portal() override { bus_.unregisterObject(path); }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& bus) override {
        if (message.member() != "Read") return false;
        return bus.send(message.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(scheme())))));
    }

    void setDark(bool isDark) {
        isDark_ = isDark;
        QDBusMessage signal = QDBusMessage::createSignal(path, "org.freedesktop.portal.Settings", "SettingChanged");
        signal << QStringLiteral("org.freedesktop.appearance") << QStringLiteral("color-scheme")
               << QVariant::fromValue(scheme());
        EXPECT_TRUE(bus_.send(signal));
    }

private:
    static constexpr const char* path = "/org/freedesktop/portal/desktop";

    [[nodiscard]] QDBusVariant scheme() const { return QDBusVariant(isDark_ ? 1U : 2U); }

    QDBusConnection bus_;
    bool isDark_ = true;
};

TEST(DesktopColors, followTheDesktopWhileTheProgramRuns) {
    if (QStandardPaths::findExecutable("dbus-daemon").isEmpty()) GTEST_SKIP() << "dbus-daemon is missing";
    SessionBus bus;
    ASSERT_TRUE(bus.isThere());
    Portal portal(bus.connect("portal"));
    const QPalette before = QApplication::palette();
    {
        Theme theme(*qApp);
        EXPECT_FALSE(theme.followDesktop(QDBusConnection("no bus")));
        EXPECT_TRUE(theme.followDesktop(bus.connect("program")));
        const auto becomes = [](bool dark) {
            return QTest::qWaitFor([dark] { return isDark(QApplication::palette()) == dark; }, longestWait);
        };
        EXPECT_TRUE(becomes(true));
        for (const bool dark : {false, true, false}) {
            portal.setDark(dark);
            EXPECT_TRUE(becomes(dark)) << dark;
        }
    }
    QApplication::setPalette(before);
}

}  // namespace
}  // namespace tovri
