#include "platform/qt/QtWorkspace.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDesktopServices>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QUrl>

namespace tovri {
namespace {

QUrl urlOf(const std::filesystem::path& file) {
    return QUrl::fromLocalFile(QFile::decodeName(file.c_str()));
}

}  // namespace

bool QtWorkspace::openWebAddress(const std::string& url) {
    return QDesktopServices::openUrl(QUrl(QString::fromStdString(url)));
}

void QtWorkspace::revealFile(const std::filesystem::path& file) {
    auto request = QDBusMessage::createMethodCall("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                                  "org.freedesktop.FileManager1", "ShowItems");
    request << QStringList(urlOf(file).toString(QUrl::FullyEncoded)) << QString();
    auto* answer = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(request));
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, folder = file.parent_path()] {
        if (answer->isError()) QDesktopServices::openUrl(urlOf(folder));
        answer->deleteLater();
    });
}

bool QtWorkspace::openFile(const std::filesystem::path& file) {
    return QDesktopServices::openUrl(urlOf(file));
}

std::optional<std::string> QtWorkspace::clipboardText() {
    const QMimeData* content = QGuiApplication::clipboard()->mimeData();
    if (!content || !content->hasText()) return std::nullopt;
    return content->text().toStdString();
}

void QtWorkspace::setClipboardText(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

}  // namespace tovri
