#pragma once

#include <string>
#include <unordered_set>

namespace tovri {

// The sockets of a loop's connections. The library tells which one a request uses only when the request has ended; this
// tells it while bytes still move. The loop's thread.
class OpenSockets {
public:
    void opened(int socket) { sockets_.insert(socket); }

    void closed(int socket) { sockets_.erase(socket); }

    // The socket connected to this address from this local port; -1 when there is none.
    [[nodiscard]] int find(const std::string& peer, int peerPort, int localPort) const;

private:
    std::unordered_set<int> sockets_;
};

}  // namespace tovri
