#include "widgets/theme/Theme.h"

#include <QApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QEvent>
#include <QStandardPaths>
#include <QStyle>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Palettes.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr auto portal = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto portalSettings = "org.freedesktop.portal.Settings";
const QString appearance = QStringLiteral("org.freedesktop.appearance");
const QString colorScheme = QStringLiteral("color-scheme");
constexpr unsigned int prefersDark = 1;

// The portal's Read wraps its answer in two variants.
QVariant unwrapped(QVariant value) {
    while (value.canConvert<QDBusVariant>()) value = value.value<QDBusVariant>().variant();
    return value;
}

// Platforms other than X11 and Wayland look nowhere by themselves.
void searchIconsInDataFolders() {
    QStringList paths = QIcon::themeSearchPaths();
    const auto folders = QStandardPaths::locateAll(QStandardPaths::GenericDataLocation, QStringLiteral("icons"),
                                                   QStandardPaths::LocateDirectory);
    for (const QString& folder : folders)
        if (!paths.contains(folder)) paths << folder;
    QIcon::setThemeSearchPaths(paths);
}

}  // namespace

Theme::Theme(QApplication& application) : application_(application) {
    useOwnStyleOverFusion(application);
    searchIconsInDataFolders();
    QApplication::setWindowIcon(applicationIcon());
    desktopPalette_ = QApplication::palette();
    chooseIcons();
    application.installEventFilter(this);
}

bool Theme::followDesktop(QDBusConnection bus) {
    if (!bus.isConnected()) return false;
    qRegisterMetaType<QDBusVariant>();  // Qt finds the type of the slot's argument by its name
    const bool isTold = bus.connect(portal, portalPath, portalSettings, QStringLiteral("SettingChanged"), this,
                                    SLOT(settingChanged(QString, QString, QDBusVariant)));
    QDBusMessage question = QDBusMessage::createMethodCall(portal, portalPath, portalSettings, QStringLiteral("Read"));
    question << appearance << colorScheme;
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* call) {
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (!reply.isError()) settingChanged(appearance, colorScheme, reply.value());
        call->deleteLater();
    });
    if (!isTold) qWarning("The desktop does not say when it turns light or dark.");  // our own words
    return isTold;
}

void Theme::settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
    if (group == appearance && key == colorScheme) preferDark(unwrapped(value.variant()).toUInt() == prefersDark);
}

// A palette that the platform made dark by itself stays as it is.
void Theme::preferDark(bool dark) {
    if (dark != isDark(desktopPalette_))
        usePalette(dark ? darkPalette() : lightPalette());
    else if (isPaletteOurs_)
        usePalette(desktopPalette_);
}

void Theme::usePalette(const QPalette& palette) {
    isPaletteOurs_ = true;
    QApplication::setPalette(palette);
    chooseIcons();
}

bool Theme::eventFilter(QObject* watched, QEvent* event) {
    if (watched == &application_ && event->type() == QEvent::ApplicationPaletteChange) {
        if (!isPaletteOurs_) desktopPalette_ = QApplication::palette();
        chooseIcons();
    }
    return QObject::eventFilter(watched, event);
}

// All symbols come from one family of drawings, whose shapes can be given any colour; a theme of another desktop may
// have pictures for some names and nothing for others.
void Theme::chooseIcons() {
    const QString family = isDark(QApplication::palette()) ? QStringLiteral("breeze-dark") : QStringLiteral("breeze");
    if (QIcon::themeName() == family) return;
    QIcon::setFallbackThemeName(family);
    QIcon::setThemeName(family);
}

bool isMotionWanted() {
    return QApplication::style()->styleHint(QStyle::SH_Widget_Animation_Duration) > 0;
}

}  // namespace tovri
