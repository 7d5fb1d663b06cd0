#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QPalette>

class QApplication;
class QDBusVariant;

namespace tovri {

// The application's look: its style, icons and window icon, light or dark as the desktop has it, also when that changes
// while the program runs. Made by main after the QApplication, which outlives it.
//
// Most desktops hand Qt a palette. Where Qt got none and the desktop prefers a dark one (the settings portal's
// color-scheme, of the XDG Desktop Portal), it gets one from here.
class Theme final : public QObject {
    Q_OBJECT

public:
    explicit Theme(QApplication& application);

    // Asks the desktop for light or dark, and follows it from now on. False where it will not tell of a change.
    bool followDesktop(QDBusConnection bus = QDBusConnection::sessionBus());

    // Light or dark whatever the desktop says.
    void usePalette(const QPalette& palette);

    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void preferDark(bool dark);
    void chooseIcons();

    QApplication& application_;
    QPalette desktopPalette_;  // as Qt has it from the platform
    bool isPaletteOurs_ = false;
};

// False when the desktop asks for reduced motion: then nothing moves but progress.
[[nodiscard]] bool isMotionWanted();

}  // namespace tovri
