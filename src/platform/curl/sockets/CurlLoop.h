#pragma once

#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include "platform/SleepClock.h"
#include "platform/curl/sockets/CurlHandles.h"
#include "platform/curl/sockets/OpenSockets.h"
#include "platform/curl/sockets/SocketPoll.h"

namespace tovri {

// One request under way, as the loop sees it. All on the loop's thread.
class CurlLoopClient {
public:
    virtual ~CurlLoopClient() = default;
    [[nodiscard]] virtual CURL* handle() = 0;
    virtual void didFinish(CURLcode code) = 0;

    // The machine was asleep: every connection is replaced. One that has none yet stays in the loop.
    virtual void didSleep() = 0;

    // The system refuses to tell when its connection is ready. From within the library: only to be noted.
    virtual void didLoseWatch() = 0;

    // A few times a second while the client is in the loop.
    virtual void tick(std::chrono::steady_clock::time_point now) = 0;
};

// The thread that moves all bytes of one session, with the connections that its requests share. They are kept for the
// next requests until the other side ends them or this machine sleeps. Owned by the session, which gives it jobs and
// keeps everything that they touch on this thread.
class CurlLoop {
public:
    using Job = std::move_only_function<void()>;

    static constexpr long connectionsPerHost = 6;

    // `sleepClock` outlives it.
    explicit CurlLoop(const SleepClock& sleepClock);
    CurlLoop(const CurlLoop&) = delete;
    CurlLoop& operator=(const CurlLoop&) = delete;
    ~CurlLoop();

    // Runs the job on the loop's thread, after those given before it. Any thread. Once stopped, it does nothing.
    void run(Job job);

    // Runs `last`, which removes every client, on the loop's thread and ends that thread. Jobs that wait are dropped
    // there too.
    void stop(Job last);

    // The rest belongs to the loop's thread.

    // A handle with the settings that all requests share, and its way back when it is not in the loop any more.
    [[nodiscard]] EasyHandle takeHandle();
    void giveBack(EasyHandle handle);

    // Whoever is told of a new socket enters it here; its end is noticed by the loop.
    [[nodiscard]] OpenSockets& sockets() { return sockets_; }

    // From now on the client is told, until it has finished or is removed. It stays alive until then. False, and
    // nothing is told, when memory or file handles are lacking for it.
    [[nodiscard]] bool add(CurlLoopClient& client);
    void remove(CurlLoopClient& client);

    // Has a kept connection that nobody uses make way for the next one that is begun. False when there is none.
    [[nodiscard]] bool makeWay();

private:
    using TimePoint = std::chrono::steady_clock::time_point;
    struct Callbacks;  // the library's C functions

    void openMulti();
    void work();
    void replaceConnectionsAfterSleep();
    [[nodiscard]] bool runJobs();
    void dropJobs();
    void moveBytes();
    void moveBytesWhenDue();
    void act(curl_socket_t socket, int readiness);
    [[nodiscard]] bool watch(int socket, int interest) noexcept;
    void readMessages();
    void tickWhenDue();
    void sleep();
    [[nodiscard]] std::chrono::milliseconds sleepLimit() const;

    std::mutex mutex_;
    std::vector<Job> jobs_;
    Job last_;
    bool isStopping_ = false;
    bool isAsleep_ = false;  // and has to be woken up for a job

    const SleepClock& sleepClock_;
    std::chrono::nanoseconds timeAsleep_;
    std::string trustedCertificates_;  // a file; empty for the library's own choice
    OpenSockets sockets_;
    SocketPoll poll_;
    std::optional<TimePoint> libraryDeadline_;  // when the library wants to act without any socket
    ShareHandle share_;
    MultiHandle multi_;
    std::vector<EasyHandle> spareHandles_;
    std::unordered_set<CurlLoopClient*> clients_;
    std::optional<TimePoint> nextTick_;  // none without clients
    std::optional<TimePoint> madeWay_;   // while kept connections make way
    std::thread thread_;
};

}  // namespace tovri
