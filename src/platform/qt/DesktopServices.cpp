#include "platform/qt/DesktopServices.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusUnixFileDescriptor>
#include <QVariantMap>

namespace tovri {
namespace {

// Hands over the first value of the answer, if one comes while the application runs; nobody waits for it.
template <class Value, class Use>
void ask(const QDBusConnection& bus, const QDBusMessage& request, Use use) {
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(request), qApp);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, use = std::move(use)] {
        const QDBusPendingReply<Value> reply = *answer;
        if (reply.isValid()) use(reply.value());
        answer->deleteLater();
    });
}

}  // namespace

// logind's inhibitor holds until its descriptor is closed, so it dies with the process.
Subscription SessionSleepInhibitor::keepAwake(const std::string& reason) {
    auto request = QDBusMessage::createMethodCall("org.freedesktop.login1", "/org/freedesktop/login1",
                                                  "org.freedesktop.login1.Manager", "Inhibit");
    request << QStringLiteral("sleep:idle") << QStringLiteral("Tovri") << QString::fromStdString(reason)
            << QStringLiteral("block");
    auto held = std::make_shared<QDBusUnixFileDescriptor>();
    ask<QDBusUnixFileDescriptor>(QDBusConnection::systemBus(), request,
                                 [awaited = std::weak_ptr(held)](const QDBusUnixFileDescriptor& lock) {
                                     if (const auto stillHeld = awaited.lock()) *stillHeld = lock;
                                 });
    return Subscription([held = std::move(held)] {});
}

void SessionNotifications::show(const std::string& title, const std::string& text) {
    auto request = QDBusMessage::createMethodCall("org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                                                  "org.freedesktop.Notifications", "Notify");
    constexpr int serversOwnTime = -1;
    request << QStringLiteral("Tovri") << *shown_ << QStringLiteral("tovri") << QString::fromStdString(title)
            << QString::fromStdString(text).toHtmlEscaped() << QStringList()
            << QVariantMap{{QStringLiteral("desktop-entry"), QStringLiteral("tovri")}} << serversOwnTime;
    ask<uint>(QDBusConnection::sessionBus(), request, [shown = shown_](uint number) { *shown = number; });
}

}  // namespace tovri
