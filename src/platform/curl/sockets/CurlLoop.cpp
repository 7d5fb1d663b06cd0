#include "platform/curl/sockets/CurlLoop.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <unistd.h>

#include "platform/curl/sockets/SignalMask.h"

namespace tovri {
namespace {

constexpr std::chrono::milliseconds tickInterval{250};
constexpr std::chrono::seconds shortestSleep{1};  // that connections are given up for
constexpr std::size_t spareHandleLimit = 8;
constexpr long keptConnections = 6 * CurlLoop::connectionsPerHost;  // by itself the library keeps few in a lull
constexpr std::chrono::seconds keptTime = std::chrono::hours(1);    // unless the other side ends them before
constexpr long receiveBuffer = 512L * 1024;

// The variables that the curl program honours; the library by itself reads none of them.
std::string trustedCertificatesFromEnvironment() {
    for (const char* name : {"CURL_CA_BUNDLE", "SSL_CERT_FILE"})
        if (const char* value = std::getenv(name); value != nullptr && *value != '\0') return value;
    return {};
}

void initializeLibrary() {
    static const CURLcode once = curl_global_init(CURL_GLOBAL_ALL);
    static_cast<void>(once);
}

MultiHandle makeMulti() {
    initializeLibrary();
    MultiHandle multi(curl_multi_init());
    curl_multi_setopt(multi.get(), CURLMOPT_MAX_HOST_CONNECTIONS, CurlLoop::connectionsPerHost);
    curl_multi_setopt(multi.get(), CURLMOPT_MAXCONNECTS, keptConnections);
    return multi;
}

// Encrypted sessions are resumed whichever handle began them. No lock: one thread uses it.
ShareHandle makeShare() {
    initializeLibrary();
    ShareHandle share(curl_share_init());
    curl_share_setopt(share.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    return share;
}

CurlLoopClient& clientOf(CURL* handle) {
    void* client = nullptr;
    curl_easy_getinfo(handle, CURLINFO_PRIVATE, &client);
    return *static_cast<CurlLoopClient*>(client);
}

}  // namespace

// No exception may pass through the library.
struct CurlLoop::Callbacks {
    static int close(void* self, curl_socket_t socket) noexcept {
        auto& loop = *static_cast<CurlLoop*>(self);
        loop.sockets_.closed(socket);
        loop.poll_.forget(socket);
        return ::close(socket);
    }

    // A connection rests between two requests. The library has other sockets too, whose end it does not tell.
    static int want(CURL* handle, curl_socket_t socket, int interest, void* self, void*) noexcept {
        auto& loop = *static_cast<CurlLoop*>(self);
        if (interest != CURL_POLL_REMOVE) {
            if (!loop.watch(socket, interest)) clientOf(handle).didLoseWatch();
        } else if (loop.sockets_.contains(socket)) {
            loop.poll_.rest(socket);
        } else {
            loop.poll_.forget(socket);
        }
        return 0;
    }

    static int setTimer(CURLM*, long milliseconds, void* self) noexcept {
        auto& deadline = static_cast<CurlLoop*>(self)->libraryDeadline_;
        deadline.reset();
        if (milliseconds >= 0) deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        return 0;
    }
};

CurlLoop::CurlLoop(const SleepClock& sleepClock)
    : sleepClock_(sleepClock),
      timeAsleep_(sleepClock.timeAsleep()),
      trustedCertificates_(trustedCertificatesFromEnvironment()),
      share_(makeShare()) {
    openMulti();
    const SignalMask blocked;
    thread_ = std::thread([this] { work(); });
}

// One that is open already goes, with its connections.
void CurlLoop::openMulti() {
    multi_.reset();
    libraryDeadline_.reset();
    multi_ = makeMulti();
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETFUNCTION, &Callbacks::want);
    curl_multi_setopt(multi_.get(), CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERFUNCTION, &Callbacks::setTimer);
    curl_multi_setopt(multi_.get(), CURLMOPT_TIMERDATA, this);
}

CurlLoop::~CurlLoop() {
    stop({});
}

void CurlLoop::run(Job job) {
    const std::lock_guard lock(mutex_);
    if (isStopping_) return;
    jobs_.push_back(std::move(job));
    if (std::exchange(isAsleep_, false)) poll_.wakeUp();
}

void CurlLoop::stop(Job last) {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
        last_ = std::move(last);
        poll_.wakeUp();
    }
    thread_.join();
}

EasyHandle CurlLoop::takeHandle() {
    EasyHandle handle;
    if (spareHandles_.empty()) {
        handle.reset(curl_easy_init());
    } else {
        handle = std::move(spareHandles_.back());
        spareHandles_.pop_back();
        curl_easy_reset(handle.get());
    }
    const auto set = [&](CURLoption option, auto value) { curl_easy_setopt(handle.get(), option, value); };
    set(CURLOPT_SHARE, share_.get());
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // a withdrawn request does not wait for its name look-up
    set(CURLOPT_TCP_NODELAY, 1L);
    set(CURLOPT_MAXAGE_CONN, static_cast<long>(keptTime.count()));
    set(CURLOPT_BUFFERSIZE, receiveBuffer);
    set(CURLOPT_UPLOAD_BUFFERSIZE, receiveBuffer);
    // The HTTP/2 of the library's versions 7.87 to 8.5 has known faults.
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_FOLLOWLOCATION, 0L);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));  // whatever the system allows besides
    set(CURLOPT_USERAGENT, "Tovri");
    set(CURLOPT_CLOSESOCKETFUNCTION, &Callbacks::close);
    set(CURLOPT_CLOSESOCKETDATA, this);
    if (!trustedCertificates_.empty()) set(CURLOPT_CAINFO, trustedCertificates_.c_str());
    return handle;
}

void CurlLoop::giveBack(EasyHandle handle) {
    if (spareHandles_.size() < spareHandleLimit) spareHandles_.push_back(std::move(handle));
}

bool CurlLoop::add(CurlLoopClient& client) {
    if (!poll_.isOpen()) return false;
    curl_easy_setopt(client.handle(), CURLOPT_PRIVATE, &client);
    if (curl_multi_add_handle(multi_.get(), client.handle()) != CURLM_OK) return false;
    clients_.insert(&client);
    if (!nextTick_) nextTick_ = std::chrono::steady_clock::now() + tickInterval;
    return true;
}

void CurlLoop::remove(CurlLoopClient& client) {
    if (clients_.erase(&client) > 0) curl_multi_remove_handle(multi_.get(), client.handle());
}

// With as many connections as there may be, the library ends the oldest that rests before it begins another. Where none
// rests it would wait, so that must not stay.
bool CurlLoop::makeWay() {
    const std::size_t count = sockets_.count();
    if (count <= clients_.size()) return false;  // each uses one, or none yet
    curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, static_cast<long>(count));
    madeWay_ = std::chrono::steady_clock::now();
    return true;
}

void CurlLoop::work() {
    while (runJobs()) {
        tickWhenDue();
        moveBytesWhenDue();
        readMessages();
        sleep();
        replaceConnectionsAfterSleep();
        moveBytes();
    }
    if (last_) last_();
    dropJobs();
    // Here, where a connection that is already broken raises no signal.
    spareHandles_.clear();
    multi_.reset();
    share_.reset();
}

// The other side has given them up long ago, or lost sight of this machine; nothing that comes would tell.
void CurlLoop::replaceConnectionsAfterSleep() {
    const std::chrono::nanoseconds now = sleepClock_.timeAsleep();
    if (now - timeAsleep_ < shortestSleep) return;
    timeAsleep_ = now;
    const std::vector<CurlLoopClient*> round(clients_.begin(), clients_.end());
    for (CurlLoopClient* client : round)
        if (clients_.contains(client)) client->didSleep();
    for (CurlLoopClient* waiting : clients_) curl_multi_remove_handle(multi_.get(), waiting->handle());
    openMulti();
    for (CurlLoopClient* waiting : clients_)
        if (curl_multi_add_handle(multi_.get(), waiting->handle()) != CURLM_OK) waiting->didLoseWatch();
}

bool CurlLoop::runJobs() {
    std::vector<Job> jobs;
    {
        const std::lock_guard lock(mutex_);
        if (isStopping_) return false;
        jobs.swap(jobs_);
    }
    for (Job& job : jobs) job();
    return true;
}

// What they hold is destroyed outside the lock: it may be code of others.
void CurlLoop::dropJobs() {
    std::vector<Job> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(jobs_);
}

void CurlLoop::moveBytes() {
    while (const auto event = poll_.next()) act(event->socket, event->readiness);
}

void CurlLoop::moveBytesWhenDue() {
    if (!libraryDeadline_ || *libraryDeadline_ > std::chrono::steady_clock::now()) return;
    libraryDeadline_.reset();
    act(CURL_SOCKET_TIMEOUT, 0);
}

void CurlLoop::act(curl_socket_t socket, int readiness) {
    int running = 0;
    curl_multi_socket_action(multi_.get(), socket, readiness, &running);
}

bool CurlLoop::watch(int socket, int interest) noexcept {
    try {
        return poll_.watch(socket, interest);
    } catch (...) {
        return false;  // no memory to note it
    }
}

void CurlLoop::readMessages() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        const CURLcode code = message->data.result;
        clientOf(message->easy_handle).didFinish(code);
    }
}

void CurlLoop::tickWhenDue() {
    if (!nextTick_) return;
    const TimePoint now = std::chrono::steady_clock::now();
    if (now < *nextTick_) return;
    const std::vector<CurlLoopClient*> round(clients_.begin(), clients_.end());
    for (CurlLoopClient* client : round)
        if (clients_.contains(client)) client->tick(now);
    if (madeWay_ && now - *madeWay_ >= tickInterval) {
        madeWay_.reset();
        curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, 0L);
    }
    nextTick_.reset();
    if (!clients_.empty()) nextTick_ = now + tickInterval;
}

// Until a socket is ready, a job is given or something is due.
void CurlLoop::sleep() {
    std::chrono::milliseconds limit{0};
    {
        const std::lock_guard lock(mutex_);
        isAsleep_ = jobs_.empty() && !isStopping_;
        if (isAsleep_) limit = sleepLimit();
    }
    poll_.wait(limit);
    const std::lock_guard lock(mutex_);
    isAsleep_ = false;
}

std::chrono::milliseconds CurlLoop::sleepLimit() const {
    constexpr std::chrono::milliseconds longest = std::chrono::minutes(10);
    std::optional<TimePoint> next = libraryDeadline_;
    if (nextTick_) next = std::min(next.value_or(TimePoint::max()), *nextTick_);
    if (!next) return longest;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - std::chrono::steady_clock::now());
    return std::clamp(left, std::chrono::milliseconds::zero(), longest);
}

}  // namespace tovri
