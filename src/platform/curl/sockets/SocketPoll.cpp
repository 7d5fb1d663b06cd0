#include "platform/curl/sockets/SocketPoll.h"

#include <algorithm>
#include <thread>

#include <curl/curl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tovri {
namespace {

constexpr int noSocket = -1;
constexpr std::chrono::milliseconds lookWhileClosed{20};

std::uint32_t eventsFor(int interest) {
    std::uint32_t events = 0;
    if ((interest & CURL_POLL_IN) != 0) events |= EPOLLIN;
    if ((interest & CURL_POLL_OUT) != 0) events |= EPOLLOUT;
    return events;
}

bool control(int epoll, int operation, int socket, std::uint32_t events) {
    epoll_event event{.events = events, .data = {.fd = socket}};
    return ::epoll_ctl(epoll, operation, socket, &event) == 0;
}

}  // namespace

SocketPoll::SocketPoll() {
    open();
}

SocketPoll::~SocketPoll() {
    if (bell_ >= 0) ::close(bell_);
    if (epoll_ >= 0) ::close(epoll_);
}

// Triggered by its edge, the bell never has to be read.
void SocketPoll::open() {
    if (epoll_ < 0) epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
    if (epoll_ < 0 || bell_ >= 0) return;
    const int bell = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (bell >= 0) control(epoll_, EPOLL_CTL_ADD, bell, EPOLLIN | EPOLLET);
    bell_ = bell;
}

void SocketPoll::wakeUp() const {
    const std::uint64_t one = 1;
    static_cast<void>(::write(bell_, &one, sizeof one));
}

bool SocketPoll::watch(int socket, int interest) {
    const std::uint32_t events = eventsFor(interest);
    const auto [place, isNew] = watches_.try_emplace(socket, interest, events);
    bool isWatched = true;
    if (!isNew && place->second.registered != events) isWatched = control(epoll_, EPOLL_CTL_MOD, socket, events);
    if (isNew) isWatched = control(epoll_, EPOLL_CTL_ADD, socket, events);
    place->second = {interest, events};
    return isWatched;
}

void SocketPoll::rest(int socket) {
    const auto found = watches_.find(socket);
    if (found != watches_.end()) found->second.interest = CURL_POLL_NONE;
}

void SocketPoll::forget(int socket) {
    if (watches_.erase(socket) == 0) return;
    control(epoll_, EPOLL_CTL_DEL, socket, 0);
    for (std::size_t i = nextReady_; i < readyCount_; ++i)
        if (ready_[i].data.fd == socket) ready_[i].data.fd = noSocket;
}

void SocketPoll::wait(std::chrono::milliseconds limit) {
    if (!isOpen()) {
        std::this_thread::sleep_for(std::min(limit, lookWhileClosed));
        open();
        return;  // without a wait: whoever rang before was not heard
    }
    const int count =
        ::epoll_wait(epoll_, ready_.data(), static_cast<int>(ready_.size()), static_cast<int>(limit.count()));
    readyCount_ = static_cast<std::size_t>(std::max(count, 0));
    nextReady_ = 0;
}

std::optional<SocketPoll::Event> SocketPoll::next() {
    while (nextReady_ < readyCount_)
        if (const auto event = wantedOf(ready_[nextReady_++])) return event;
    return std::nullopt;
}

// None for the bell and for what nobody asked about.
std::optional<SocketPoll::Event> SocketPoll::wantedOf(const epoll_event& event) {
    const int socket = event.data.fd;
    const auto found = watches_.find(socket);
    if (found == watches_.end()) return std::nullopt;
    const int interest = found->second.interest;
    if (interest == CURL_POLL_NONE) {  // the other side ended a connection that rests, or speaks unasked
        forget(socket);
        return std::nullopt;
    }
    // A broken socket is reported as ready: reading or writing it tells what has happened.
    const bool isBroken = (event.events & (EPOLLERR | EPOLLHUP)) != 0;
    int readiness = 0;
    if ((event.events & EPOLLIN) != 0 || (isBroken && (interest & CURL_POLL_IN) != 0)) readiness |= CURL_CSELECT_IN;
    if ((event.events & EPOLLOUT) != 0 || (isBroken && (interest & CURL_POLL_OUT) != 0)) readiness |= CURL_CSELECT_OUT;
    return Event{socket, readiness};
}

}  // namespace tovri
