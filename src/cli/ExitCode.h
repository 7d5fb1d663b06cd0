#pragma once

namespace tovri::cli {

// How the program ends, for scripts.
enum class ExitCode {
    success = 0,         // all that was asked for has happened; of downloads: arrived, or was skipped
    failure = 1,         // something has not; a line on standard error says what, why and what to do
    wrongArguments = 2,  // nothing was begun
    notSignedIn = 3,     // nobody is, or put.io does not accept the access token
    inUse = 4,           // the process that holds the data folder cannot be asked to do it
    interrupted = 130,   // Ctrl-C, or asked to end; `run` goes on
};

}  // namespace tovri::cli
