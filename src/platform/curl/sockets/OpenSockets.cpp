#include "platform/curl/sockets/OpenSockets.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

// How long a byte takes to the other end and back, as far as the system has seen by now.
std::chrono::microseconds roundTrip(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return std::chrono::milliseconds(100);
    return std::chrono::microseconds(info.tcpi_rtt);
}

// So large that the line is never idle for want of it, and little larger. None where the system does not give that much
// to whoever asks: it does to those that leave it the choice.
std::optional<int> receiveBufferFor(int socket, BytesPerSecond pace) {
    constexpr double least = 64.0 * 1024;  // smaller ones make the other end wait
    constexpr double most = 208.0 * 1024;  // net.core.rmem_max, unless somebody has changed it
    constexpr std::chrono::duration<double> ahead = std::chrono::milliseconds(25);
    const std::chrono::duration<double> trip = roundTrip(socket);
    const auto rate = static_cast<double>(pace.count);
    if (1.5 * rate * trip.count() > most) return std::nullopt;
    return static_cast<int>(std::clamp(rate * (2 * trip + ahead).count(), least, most));
}

// Needs Linux 5.14; before that the buffer stays as it is.
void letBufferGrow(int socket) {
    constexpr int chooseBufferLock = 72;  // SO_BUF_LOCK, which the headers may not know yet
    const int isLocked = 0;
    ::setsockopt(socket, SOL_SOCKET, chooseBufferLock, &isLocked, sizeof isLocked);
}

}  // namespace

OpenSockets::Ends OpenSockets::endsOf(int socket) {
    const End peer = endOf(socket, &::getpeername);
    return {peer.host, peer.port, endOf(socket, &::getsockname).port};
}

// New sockets are asked first: the system may give them the ports of a connection that is broken but not closed yet.
int OpenSockets::find(const std::string& peer, int peerPort, int localPort) {
    const Ends wanted{peer, peerPort, localPort};
    const auto isNew = [&](const auto& item) { return item.second.ends.peer.empty() && endsOf(item.first) == wanted; };
    if (const auto found = std::ranges::find_if(sockets_, isNew); found != sockets_.end()) {
        for (auto& [number, socket] : sockets_)
            if (socket.ends == wanted) socket.ends = {};
        found->second.ends = wanted;
        return found->first;
    }
    const auto found = std::ranges::find(sockets_, wanted, [](const auto& item) { return item.second.ends; });
    return found == sockets_.end() ? -1 : found->first;
}

void OpenSockets::setPace(int socket, std::optional<BytesPerSecond> pace) {
    const auto found = sockets_.find(socket);
    if (found == sockets_.end() || std::exchange(found->second.pace, pace) == pace) return;
    const std::optional<int> size = pace ? receiveBufferFor(socket, *pace) : std::nullopt;
    if (size) ::setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &*size, sizeof *size);
    if (!size) letBufferGrow(socket);
}

}  // namespace tovri
