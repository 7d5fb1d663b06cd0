#include "platform/curl/OpenSockets.h"

#include <algorithm>
#include <cstdlib>

#include <netdb.h>
#include <sys/socket.h>

namespace tovri {
namespace {

struct End {
    std::string host;
    int port = 0;
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
    return {host, std::atoi(port)};
}

}  // namespace

OpenSockets::Ends OpenSockets::endsOf(int socket) {
    const End peer = endOf(socket, &::getpeername);
    return {peer.host, peer.port, endOf(socket, &::getsockname).port};
}

// New sockets are asked first: the system may give them the ports of a connection that is broken but not closed yet.
int OpenSockets::find(const std::string& peer, int peerPort, int localPort) {
    const Ends wanted{peer, peerPort, localPort};
    const auto isNew = [&](const auto& item) { return item.second.peer.empty() && endsOf(item.first) == wanted; };
    if (const auto found = std::ranges::find_if(sockets_, isNew); found != sockets_.end()) {
        for (auto& [socket, ends] : sockets_)
            if (ends == wanted) ends = {};
        found->second = wanted;
        return found->first;
    }
    const auto found = std::ranges::find(sockets_, wanted, [](const auto& item) { return item.second; });
    return found == sockets_.end() ? -1 : found->first;
}

}  // namespace tovri
