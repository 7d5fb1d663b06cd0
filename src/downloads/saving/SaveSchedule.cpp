#include "downloads/saving/SaveSchedule.h"

namespace tovri {

void SaveSchedule::request(Urgency urgency) {
    using namespace std::chrono_literals;
    if (!isOpen_) return;
    const MainLoop::Duration delay = urgency == Urgency::soon ? 400ms : 5000ms;
    const MainLoop::TimePoint deadline = loop_.now() + delay;
    if (saveDeadline_ && *saveDeadline_ <= deadline) return;
    saveDeadline_ = deadline;
    saveWorkItem_ = loop_.schedule(delay, [this] {
        cancel();
        save_();
    });
}

void SaveSchedule::cancel() {
    saveDeadline_.reset();
    saveWorkItem_.reset();
}

}  // namespace tovri
