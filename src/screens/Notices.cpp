#include "screens/Notices.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tovri {
namespace {

constexpr std::chrono::seconds timeToRead{10};

}  // namespace

void Notices::tell(Notice notice) {
    if (notice.kind == Notice::Kind::failure) {
        if (std::ranges::find(notices_, notice.text, &Notice::text) != notices_.end()) return;
        notices_.push_back(std::move(notice));
        if (notices_.size() == 1) showNext();
        return;
    }
    std::erase_if(notices_, [](const Notice& other) { return other.kind == Notice::Kind::answer; });
    notices_.push_front(std::move(notice));
    showNext();
}

void Notices::withdrawAnswer() {
    if (notices_.empty() || notices_.front().kind != Notice::Kind::answer) return;
    close();
}

void Notices::perform() {
    if (notices_.empty()) return;
    const std::function<void()> action = std::move(notices_.front().perform);
    close();
    if (action) action();
}

void Notices::close() {
    if (notices_.empty()) return;
    notices_.pop_front();
    showNext();
}

void Notices::showNext() {
    end_.reset();
    if (!notices_.empty()) end_ = loop_.schedule(timeToRead, [this] { close(); });
    changes_.tell();
}

}  // namespace tovri
