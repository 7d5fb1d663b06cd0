#include "platform/curl/OpenSockets.h"

#include <algorithm>

#include <netdb.h>
#include <sys/socket.h>

namespace tovri {
namespace {

struct End {
    std::string host;
    std::string port;

    bool operator==(const End&) const = default;
};

// Asks getsockname or getpeername.
template <class Question>
End endOf(int socket, Question question) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    char host[NI_MAXHOST] = {};
    char port[NI_MAXSERV] = {};
    if (question(socket, plain, &size) == 0)
        ::getnameinfo(plain, size, host, sizeof host, port, sizeof port, NI_NUMERICHOST | NI_NUMERICSERV);
    return {host, port};
}

}  // namespace

int OpenSockets::find(const std::string& peer, int peerPort, int localPort) const {
    const End wanted{peer, std::to_string(peerPort)};
    const auto found = std::ranges::find_if(sockets_, [&](int socket) {
        return endOf(socket, &::getsockname).port == std::to_string(localPort) &&
               endOf(socket, &::getpeername) == wanted;
    });
    return found == sockets_.end() ? -1 : *found;
}

}  // namespace tovri
