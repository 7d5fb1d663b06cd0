#include "cli/TerminalLog.h"

#include <optional>
#include <utility>

#include <unistd.h>

namespace tovri::cli {
namespace {

// "Films" of "[SyncManager] Films: 5 files total" and of "[SyncManager] Error syncing Films: ..."; none of a line that
// is about nothing in particular.
std::optional<std::string> subjectOf(std::string_view line) {
    const auto name = line.find("] ");
    const auto colon = line.find(": ");
    if (name == std::string_view::npos || colon == std::string_view::npos || colon < name) return std::nullopt;
    std::string_view subject = line.substr(name + 2, colon - name - 2);
    for (const std::string_view failure : {"Error syncing ", "Error initializing "})
        if (subject.starts_with(failure)) subject.remove_prefix(failure.size());
    return std::string(subject);
}

}  // namespace

void TerminalLog::line(std::string_view text) {
    const bool isMainThread = ::gettid() == ::getpid();  // gettid(2): the main thread's ID is the process's
    if (isMainThread) return show(text);
    loop_.post([this, line = std::string(text)] { show(line); });
}

void TerminalLog::show(std::string_view text) {
    if (isRepeated(text)) return;
    stream_ == Stream::output ? terminal_.print(text) : terminal_.message(text);
}

bool TerminalLog::isRepeated(std::string_view text) {
    if (!isInRound_) return false;
    const std::optional<std::string> subject = subjectOf(text);
    return subject && std::exchange(lastAbout_[*subject], std::string(text)) == text;
}

}  // namespace tovri::cli
