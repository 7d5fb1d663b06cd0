#include "support/VirtualLoop.h"

#include <algorithm>

namespace tovri::test {

void VirtualLoop::post(Job job) {
    add(Duration::zero(), std::move(job));
}

Subscription VirtualLoop::schedule(Duration delay, Job job) {
    const Place place = add(delay, std::move(job));
    return Subscription([jobs = std::weak_ptr(jobs_), place] {
        const auto list = jobs.lock();
        if (!list) return;
        const auto taken = list->extract(place);  // what the job holds may come back here when it goes
    });
}

void VirtualLoop::advance(Duration duration) {
    const TimePoint end = now_ + duration;
    while (runNext(end)) continue;
    now_ = end;
}

bool VirtualLoop::runUntil(const std::function<bool()>& condition, Duration limit) {
    const TimePoint end = now_ + limit;
    while (!condition()) {
        if (runNext(end)) continue;
        now_ = end;
        return condition();
    }
    return true;
}

VirtualLoop::Place VirtualLoop::add(Duration delay, Job job) {
    const Place place(now_ + std::max(delay, Duration::zero()), sequence_++);
    jobs_->emplace(place, std::move(job));
    return place;
}

bool VirtualLoop::runNext(TimePoint end) {
    if (jobs_->empty() || jobs_->begin()->first.first > end) return false;
    auto next = jobs_->extract(jobs_->begin());
    now_ = next.key().first;
    next.mapped()();
    return true;
}

namespace {

struct VirtualWork {
    BackgroundQueue::Work work;
    BackgroundQueue::Done done;
    std::stop_source stop;
    Subscription next;
};

}  // namespace

Subscription VirtualBackgroundQueue::run(Work work, Done done) {
    auto job = std::make_shared<VirtualWork>();
    job->work = std::move(work);
    job->done = std::move(done);
    const auto choices = static_cast<std::uint64_t>(longestDelay.count()) + 1;
    const MainLoop::Duration delay(static_cast<MainLoop::Duration::rep>(numbers_() % choices));
    job->next = loop_.schedule(latency + delay, [this, held = std::weak_ptr(job)] {
        const auto begun = held.lock();
        begun->work(begun->stop.get_token());
        begun->next = loop_.schedule(MainLoop::Duration::zero(), [held] {
            BackgroundQueue::Done report = std::move(held.lock()->done);
            report();
        });
    });
    return Subscription([job] {
        job->stop.request_stop();
        job->next.reset();
    });
}

}  // namespace tovri::test
