#include "platform/qt/QtMainLoop.h"

#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

namespace tovri {
namespace {

// In whole milliseconds, never too early; what is longer than Qt counts is as long as Qt counts.
int millisecondsOf(MainLoop::Duration delay) {
    const auto time = std::chrono::ceil<std::chrono::milliseconds>(delay).count();
    return static_cast<int>(std::clamp<std::int64_t>(time, 0, std::numeric_limits<int>::max()));
}

}  // namespace

// One event for all that is posted until it comes: a thread that reports often does not fill Qt's queue.
void QtMainLoop::post(Job job) {
    const std::lock_guard lock(mutex_);
    if (posted_.empty()) QMetaObject::invokeMethod(&receiver_, [this] { runPosted(); }, Qt::QueuedConnection);
    posted_.push_back(std::move(job));
}

void QtMainLoop::runPosted() {
    std::vector<Job> jobs;
    {
        const std::lock_guard lock(mutex_);
        jobs.swap(posted_);
    }
    for (Job& job : jobs) std::exchange(job, nullptr)();
}

Subscription QtMainLoop::schedule(Duration delay, Job job) {
    auto kept = std::make_shared<Job>(std::move(job));
    auto* timer = new QTimer(&receiver_);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, kept] {
        timer->deleteLater();
        if (Job due = std::exchange(*kept, nullptr)) due();
    });
    timer->start(millisecondsOf(delay));
    return Subscription([timer = QPointer(timer), kept = std::move(kept)] {
        *kept = nullptr;
        if (!timer) return;
        timer->stop();
        timer->deleteLater();
    });
}

}  // namespace tovri
