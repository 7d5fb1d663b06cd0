#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

#include "base/Bytes.h"

namespace tovri {

// The sockets of a loop's connections. The library tells which one a request uses only when the request has ended; this
// tells it while bytes still move. The loop's thread.
class OpenSockets {
public:
    void opened(int socket) { sockets_[socket] = {}; }

    void closed(int socket) { sockets_.erase(socket); }

    [[nodiscard]] bool contains(int socket) const { return sockets_.contains(socket); }

    [[nodiscard]] std::size_t count() const { return sockets_.size(); }

    // The socket connected to this address from this local port; -1 when there is none. Remembers what it finds.
    [[nodiscard]] int find(const std::string& peer, int peerPort, int localPort);

    // Has the system keep no more of what comes over this socket than somebody needs who reads that fast; none: as much
    // as it sees fit.
    void setPace(int socket, std::optional<BytesPerSecond> pace);

private:
    struct Ends {
        std::string peer;  // empty while not known
        int peerPort = 0;
        int localPort = 0;

        bool operator==(const Ends&) const = default;
    };

    [[nodiscard]] static Ends endsOf(int socket);

    struct Socket {
        Ends ends;
        std::optional<BytesPerSecond> pace;
    };

    std::unordered_map<int, Socket> sockets_;
};

}  // namespace tovri
