#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

#include <sys/epoll.h>

namespace tovri {

// Where a loop's thread sleeps: until a socket is ready for what the library wants of it, or somebody rings. Each turn
// costs what is ready, not what is open. Where the program has no file handle left for it, it opens later: until then
// it looks up many times a second and watches nothing. The loop's thread, but for `wakeUp`.
class SocketPoll {
public:
    struct Event {
        int socket;
        int readiness;  // CURL_CSELECT_IN, CURL_CSELECT_OUT
    };

    SocketPoll();
    SocketPoll(const SocketPoll&) = delete;
    SocketPoll& operator=(const SocketPoll&) = delete;
    ~SocketPoll();

    [[nodiscard]] bool isOpen() const { return epoll_ >= 0 && bell_ >= 0; }

    // Ends the wait under way or, when there is none, the next one. Any thread.
    void wakeUp() const;

    // `interest` is CURL_POLL_IN, CURL_POLL_OUT or CURL_POLL_INOUT. False when the system refuses, and nothing will be
    // told of this socket.
    [[nodiscard]] bool watch(int socket, int interest);

    // Nothing is wanted of the socket until it is watched again, which then costs no system call. Only for a socket
    // that is forgotten before it is closed.
    void rest(int socket);

    void forget(int socket);

    // Sleeps; the events are then taken one after the other. Those of a socket forgotten meanwhile are left out.
    void wait(std::chrono::milliseconds limit);
    [[nodiscard]] std::optional<Event> next();

private:
    struct Watch {
        int interest;              // CURL_POLL_NONE while it rests
        std::uint32_t registered;  // what the system was asked for
    };

    void open();
    [[nodiscard]] std::optional<Event> wantedOf(const epoll_event& event);

    int epoll_ = -1;
    std::atomic<int> bell_ = -1;
    std::unordered_map<int, Watch> watches_;
    std::array<epoll_event, 32> ready_{};
    std::size_t readyCount_ = 0;
    std::size_t nextReady_ = 0;
};

}  // namespace tovri
