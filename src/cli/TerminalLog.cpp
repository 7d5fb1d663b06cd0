#include "cli/TerminalLog.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <unistd.h>

namespace tovri::cli {
namespace {

constexpr std::string_view failures[] = {"Error syncing ", "Error initializing "};

bool isFailure(std::string_view line) {
    return std::ranges::any_of(failures, [&](std::string_view words) { return line.contains(words); });
}

// "Films" of "[SyncManager] Films: 5 files total" and of "[SyncManager] Error syncing Films: ..."; none of a line that
// is about nothing in particular.
std::optional<std::string> subjectOf(std::string_view line) {
    const auto name = line.find("] ");
    const auto colon = line.find(": ");
    if (name == std::string_view::npos || colon == std::string_view::npos || colon < name) return std::nullopt;
    std::string_view subject = line.substr(name + 2, colon - name - 2);
    for (const std::string_view failure : failures)
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
    if (!subject) return false;
    // What still fails is said again; that nothing happens is not.
    return !told_.isNews(*subject, text, loop_.now(),
                         isFailure(text) ? LastTold::Again::hourly : LastTold::Again::never);
}

}  // namespace tovri::cli
