#include "platform/qt/SingleInstance.h"

#include <QFile>
#include <QLocalSocket>
#include <memory>
#include <utility>

namespace tovri {
namespace {

constexpr int patience = 2000;  // ms
constexpr qint64 longestAddress = 16 * 1024;

}  // namespace

SingleInstance::SingleInstance(const std::filesystem::path& dataFolder)
    : socket_(QFile::decodeName((dataFolder / "desktop.socket").c_str())) {}

bool SingleInstance::call(const QString& address) const {
    QLocalSocket socket;
    socket.connectToServer(socket_);
    if (!socket.waitForConnected(patience)) return false;
    socket.write(address.toUtf8() + '\n');
    if (!socket.waitForBytesWritten(patience)) return false;
    socket.waitForDisconnected(patience);  // it has been read
    return true;
}

void SingleInstance::listen(Called called) {
    called_ = std::move(called);
    QLocalServer::removeServer(socket_);
    server_.setSocketOptions(QLocalServer::UserAccessOption);
    QObject::connect(&server_, &QLocalServer::newConnection, this, [this] { answer(); });
    server_.listen(socket_);
}

void SingleInstance::answer() {
    QLocalSocket* caller = server_.nextPendingConnection();
    QObject::connect(caller, &QLocalSocket::disconnected, caller, &QLocalSocket::deleteLater);
    const auto read = [this, caller] {
        if (caller->bytesAvailable() > longestAddress) return caller->abort();
        if (!caller->canReadLine()) return;
        const QString address = QString::fromUtf8(caller->readLine()).trimmed();
        caller->disconnectFromServer();
        called_(address);
    };
    QObject::connect(caller, &QLocalSocket::readyRead, this, read);
    read();
}

}  // namespace tovri
