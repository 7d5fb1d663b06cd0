#pragma once

namespace tovri::cli {

// How the program ends, for scripts.
enum class ExitCode {
    success = 0,         // all arrived, or was skipped
    failure = 1,         // something did not; a line on standard error says what, why and what to do
    wrongArguments = 2,  // nothing was begun
    interrupted = 130,   // Ctrl-C, or asked to end; `run` goes on
};

}  // namespace tovri::cli
