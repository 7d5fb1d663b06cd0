#include "platform/curl/ScriptedServer.h"

#include <cstdlib>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tovri::test {
namespace {

std::string readRequest(int connection) {
    std::string request;
    char buffer[65536];
    std::size_t whole = std::string::npos;
    while (request.size() < whole) {
        const ssize_t got = ::recv(connection, buffer, sizeof buffer, 0);
        if (got <= 0) break;
        request.append(buffer, static_cast<std::size_t>(got));
        const std::size_t headEnd = request.find("\r\n\r\n");
        if (headEnd == std::string::npos) continue;
        const std::size_t length = request.find("Content-Length: ");
        whole = headEnd + 4 + (length < headEnd ? std::strtoul(&request[length + 16], nullptr, 10) : 0);
    }
    return request;
}

}  // namespace

ScriptedServer::ScriptedServer(Script script)
    : script_(std::move(script)), listener_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (::bind(listener_, plain, size) != 0 || ::listen(listener_, 16) != 0) std::abort();
    ::getsockname(listener_, plain, &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
    ::shutdown(listener_, SHUT_RDWR);
    thread_.join();
    ::close(listener_);
    for (const int connection : silent_) ::close(connection);
}

std::string ScriptedServer::url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

std::vector<std::string> ScriptedServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

void ScriptedServer::serve() {
    for (int connection = 0; (connection = ::accept(listener_, nullptr, nullptr)) >= 0;) answer(connection);
}

void ScriptedServer::answer(int connection) {
    const std::string request = readRequest(connection);
    {
        const std::lock_guard lock(mutex_);
        requests_.push_back(request);
    }
    const std::optional<std::string> reply = script_(request);
    if (!reply) return silent_.push_back(connection);
    ::send(connection, reply->data(), reply->size(), MSG_NOSIGNAL);
    ::shutdown(connection, SHUT_WR);
    ::close(connection);
}

}  // namespace tovri::test
