#include "platform/posix/loop/PosixMainLoop.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tovri {
namespace {

void ring(int descriptor) {
    const std::uint64_t one = 1;
    static_cast<void>(::write(descriptor, &one, sizeof one));  // fails only when it rings already
}

void silence(int descriptor) {
    std::uint64_t count = 0;
    static_cast<void>(::read(descriptor, &count, sizeof count));
}

FileDescriptor makeBell() {
    return FileDescriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

// How often to look for what was posted where the program had no file handle left for a bell.
constexpr std::chrono::milliseconds lookWithoutBell{20};

// By signal number: the bell that its handler rings, -1 when nobody listens.
std::array<std::atomic<int>, NSIG> signalBells;

void ringForSignal(int signal) {
    const int savedErrno = errno;
    const int bell = signalBells[static_cast<std::size_t>(signal)].load();
    if (bell >= 0) ring(bell);
    errno = savedErrno;
}

}  // namespace

PosixMainLoop::PosixMainLoop() : wakeUp_(makeBell()) {}

MainLoop::TimePoint PosixMainLoop::now() const {
    return std::chrono::steady_clock::now();
}

void PosixMainLoop::post(Job job) {
    const std::scoped_lock lock(mutex_);
    posted_.push_back(std::move(job));
    if (std::exchange(isAsleep_, false)) ring(wakeUp_.number());
}

Subscription PosixMainLoop::schedule(Duration delay, Job job) {
    const Place place(now() + std::max(delay, Duration::zero()), sequence_++);
    timers_->emplace(place, std::move(job));
    return Subscription([timers = std::weak_ptr(timers_), place] {
        const auto list = timers.lock();
        if (!list) return;
        const auto taken = list->extract(place);  // what the job holds may come back here when it goes
    });
}

void PosixMainLoop::run() {
    while (!isQuitting_) {
        wait();
        runPosted();
        runTimers();
        runWatches();
    }
    isQuitting_ = false;
}

Subscription PosixMainLoop::watch(int descriptor, Readiness readiness, Job job) {
    const short events = readiness == Readiness::readable ? POLLIN : POLLOUT;
    const std::uint64_t id = sequence_++;
    watches_->emplace(id, std::make_shared<Watch>(descriptor, events, std::move(job)));
    return Subscription([watches = std::weak_ptr(watches_), id] {
        const auto list = watches.lock();
        if (!list) return;
        const auto taken = list->extract(id);
    });
}

Subscription PosixMainLoop::onSignal(int signal, Job job) {
    struct Listening {
        FileDescriptor bell;
        struct sigaction before{};
        Subscription watch;
    };

    auto listening = std::make_shared<Listening>(makeBell());
    if (listening->bell.number() < 0) return {};  // better that it ends the program than that nobody hears it
    listening->watch = watch(listening->bell.number(), Readiness::readable,
                             [bell = listening->bell.number(), job = std::move(job)]() mutable {
                                 silence(bell);
                                 job();
                             });
    signalBells[static_cast<std::size_t>(signal)] = listening->bell.number();
    struct sigaction action{};
    action.sa_handler = ringForSignal;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, &listening->before);
    return Subscription([listening, signal] {
        ::sigaction(signal, &listening->before, nullptr);
        signalBells[static_cast<std::size_t>(signal)] = -1;
    });
}

// Sleeps until a job is posted, a descriptor is ready or a timer is due.
void PosixMainLoop::wait() {
    polled_.assign(1, {wakeUp_.number(), POLLIN, 0});
    polledWatches_.clear();
    for (const auto& [id, watch] : *watches_) {
        polled_.push_back({watch->descriptor, watch->events, 0});
        polledWatches_.push_back(id);
    }
    const std::optional<timespec> limit = sleepLimit();
    const int ready = ::ppoll(polled_.data(), polled_.size(), limit ? &*limit : nullptr, nullptr);
    if (ready < 0) std::ranges::for_each(polled_, [](pollfd& entry) { entry.revents = 0; });  // a signal
    if (polled_.front().revents != 0) silence(wakeUp_.number());
}

// None: until a descriptor is ready. Whoever posts from here on rings, up to the next `runPosted`.
std::optional<timespec> PosixMainLoop::sleepLimit() {
    {
        const std::scoped_lock lock(mutex_);
        isAsleep_ = posted_.empty();
        if (!isAsleep_) return timespec{};
    }
    const bool isHeard = wakeUp_.number() >= 0;
    if (timers_->empty() && isHeard) return std::nullopt;
    auto left = isHeard ? Duration::max() : Duration(lookWithoutBell);
    if (!timers_->empty()) left = std::clamp(timers_->begin()->first.first - now(), Duration::zero(), left);
    const auto seconds = std::chrono::floor<std::chrono::seconds>(left);
    return timespec{.tv_sec = seconds.count(), .tv_nsec = std::chrono::nanoseconds(left - seconds).count()};
}

void PosixMainLoop::runPosted() {
    std::vector<Job> jobs;
    {
        const std::scoped_lock lock(mutex_);
        jobs.swap(posted_);
        isAsleep_ = false;
    }
    for (Job& job : jobs) {
        Job once = std::exchange(job, nullptr);  // goes, with all that it holds, before the next one runs
        once();
    }
}

// Those that are due now, not those that they schedule meanwhile.
void PosixMainLoop::runTimers() {
    const Place end(now(), sequence_);
    while (!timers_->empty() && timers_->begin()->first < end) {
        auto due = timers_->extract(timers_->begin());
        due.mapped()();
    }
}

void PosixMainLoop::runWatches() {
    for (std::size_t i = 0; i < polledWatches_.size(); ++i) {
        if (polled_[i + 1].revents == 0) continue;
        const auto found = watches_->find(polledWatches_[i]);
        if (found == watches_->end()) continue;
        const std::shared_ptr<Watch> watch = found->second;  // stays whole when the job ends its own subscription
        watch->job();
    }
}

}  // namespace tovri
