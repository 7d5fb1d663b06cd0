#include "downloads/saving/SaveSchedule.h"

#include <algorithm>
#include <chrono>

namespace tovri {
namespace {

constexpr ByteCount mebibyte = ByteCount{1} << 20U;
constexpr ByteCount shortFile = 4 * mebibyte;  // one below that is written as often as there is reason to
constexpr ByteCount bytesPerSecond = 2 * mebibyte;

}  // namespace

void SaveSchedule::request(Urgency urgency) {
    using namespace std::chrono_literals;
    if (!isOpen_) return;
    const MainLoop::TimePoint now = loop_.now();
    MainLoop::TimePoint deadline = now + (urgency == Urgency::eventually ? 5000ms : 400ms);
    if (urgency != Urgency::soon) deadline = std::max(deadline, affordable());
    if (saveDeadline_ && *saveDeadline_ <= deadline) return;
    saveDeadline_ = deadline;
    saveWorkItem_ = loop_.schedule(deadline - now, [this] {
        cancel();
        save_();
    });
}

MainLoop::TimePoint SaveSchedule::affordable() const {
    if (!lastSave_ || fileSize_ < shortFile) return {};
    const std::chrono::duration<double> pause(static_cast<double>(fileSize_) / static_cast<double>(bytesPerSecond));
    return *lastSave_ + std::chrono::ceil<MainLoop::Duration>(pause);
}

void SaveSchedule::cancel() {
    saveDeadline_.reset();
    saveWorkItem_.reset();
}

}  // namespace tovri
