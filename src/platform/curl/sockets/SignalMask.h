#pragma once

#include <csignal>

namespace tovri {

// Blocks every signal in this thread while it lives. A thread that starts meanwhile keeps them blocked for good: the
// program's signals stay with its main thread, and a broken connection raises no SIGPIPE.
class SignalMask {
public:
    SignalMask() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }

    SignalMask(const SignalMask&) = delete;
    SignalMask& operator=(const SignalMask&) = delete;

    ~SignalMask() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

}  // namespace tovri
