#pragma once

#include <csignal>
#include <thread>
#include <utility>

namespace tovri {

// A thread that no signal reaches: the program's signals stay with its main thread.
template <class Function>
[[nodiscard]] std::thread startWithoutSignals(Function function) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before);  // a thread begins with the mask of the one that started it
    std::thread thread(std::move(function));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace tovri
