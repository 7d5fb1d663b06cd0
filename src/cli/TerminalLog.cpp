#include "cli/TerminalLog.h"

#include <utility>

#include <unistd.h>

#include "cli/display/DisplayText.h"

namespace tovri::cli {

void TerminalLog::line(std::string_view text) {
    const bool isMainThread = ::gettid() == ::getpid();  // gettid(2): the main thread's ID is the process's
    if (isMainThread) return show(text);
    loop_.post([this, line = std::string(text)] { show(line); });
}

// A name in the line may hold control characters; only a terminal would obey them.
void TerminalLog::show(std::string_view text) {
    if (isRepeated(text)) return;
    const std::string line = terminal_.showsOutput() ? printable(text) : std::string(text);
    stream_ == Stream::output ? terminal_.print(line) : terminal_.message(line);
}

void TerminalLog::beginRound() {
    isInRound_ = true;
    hasNews_ = false;
    lastRound_ = std::exchange(thisRound_, {});
}

bool TerminalLog::isRepeated(std::string_view text) {
    if (!isInRound_) return false;
    hasNews_ |= !lastRound_.contains(*thisRound_.emplace(text).first);
    return !hasNews_;
}

}  // namespace tovri::cli
