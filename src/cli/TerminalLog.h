#pragma once

#include <cstdint>

#include "cli/LastTold.h"
#include "cli/Terminal.h"
#include "platform/DiagnosticLog.h"
#include "platform/MainLoop.h"

namespace tovri::cli {

// Diagnostic lines among what else the terminal shows, so that they do not tear the live display.
class TerminalLog final : public DiagnosticLog {
public:
    enum class Stream : std::uint8_t { output, messages };

    // `loop` and `terminal` outlive the log.
    TerminalLog(MainLoop& loop, Terminal& terminal, Stream stream)
        : loop_(loop), terminal_(terminal), stream_(stream) {}

    void line(std::string_view text) override;

    // Between the two, a line is left out that says of something what was said of it last; a failure only for an hour.
    void beginRound() { isInRound_ = true; }

    void endRound() { isInRound_ = false; }

private:
    void show(std::string_view text);
    [[nodiscard]] bool isRepeated(std::string_view text);

    MainLoop& loop_;
    Terminal& terminal_;
    Stream stream_;
    bool isInRound_ = false;
    LastTold told_;  // in rounds, by what a line is about
};

}  // namespace tovri::cli
