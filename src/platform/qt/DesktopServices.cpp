#include "platform/qt/DesktopServices.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>
#include <memory>

namespace tovri {
namespace {

constexpr int patience = 1000;  // ms, for an answer that is needed to go on

}  // namespace

// logind's inhibitor holds until its descriptor is closed, so it dies with the process.
Subscription SessionSleepInhibitor::keepAwake(const std::string& reason) {
    auto request = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                                  "org.freedesktop.login1.Manager", "Inhibit");
    request << QStringLiteral("sleep:idle") << QStringLiteral("Tovri") << QString::fromStdString(reason)
            << QStringLiteral("block");
    const QDBusReply<QDBusUnixFileDescriptor> lock = QDBusConnection::systemBus().call(request, QDBus::Block, patience);
    if (!lock.isValid()) return {};
    return Subscription([held = std::make_shared<QDBusUnixFileDescriptor>(lock.value())] {});
}

void SessionNotifications::show(const std::string& title, const std::string& text) {
    auto request = QDBusMessage::createMethodCall("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                                  "org.freedesktop.Notifications", "Notify");
    constexpr int serversOwnTime = -1;
    request << QStringLiteral("Tovri") << shown_ << QStringLiteral("tovri") << QString::fromStdString(title)
            << QString::fromStdString(text).toHtmlEscaped() << QStringList()
            << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("tovri")}} << serversOwnTime;
    const QDBusReply<uint> number = QDBusConnection::sessionBus().call(request, QDBus::Block, patience);
    if (number.isValid()) shown_ = number.value();
}

}  // namespace tovri
