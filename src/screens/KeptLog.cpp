#include "screens/KeptLog.h"

namespace tovri {

void KeptLog::line(std::string_view text) {
    log_.line(text);
    {
        const std::lock_guard lock(mutex_);
        lines_.emplace_back(text);
        if (lines_.size() > mostLines) lines_.pop_front();
    }
    loop_.post([this, line = std::string(text)] { told_.tell(line); });
}

std::vector<std::string> KeptLog::lines() const {
    const std::lock_guard lock(mutex_);
    return {lines_.begin(), lines_.end()};
}

}  // namespace tovri
