#include "cli/TerminalLog.h"

#include "cli/display/DisplayText.h"

namespace tovri::cli {

// A name in the line may hold control characters; only a terminal would obey them.
void TerminalLog::line(std::string_view text) {
    loop_.post([this, line = terminal_.showsOutput() ? printable(text) : std::string(text)] {
        stream_ == Stream::output ? terminal_.print(line) : terminal_.message(line);
    });
}

}  // namespace tovri::cli
