#include "platform/posix/process/EndingSignals.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <stdexcept>

#include <sys/eventfd.h>
#include <unistd.h>

namespace tovri {
namespace {

constexpr int endingSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t bell = -1;

// Async-signal-safe: one write, whose errno nobody sees.
void ring(int /*signal*/) {
    const int number = errno;
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(bell, &one, sizeof one);
    errno = number;
}

void handleBy(void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    for (const int signal : endingSignals) ::sigaction(signal, &action, nullptr);
}

}  // namespace

EndingSignals::EndingSignals() : bell_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!bell_.isOpen()) throw std::runtime_error("The system has no descriptor left.");
    bell = bell_.number();
    handleBy(ring);
}

EndingSignals::~EndingSignals() {
    handleBy(SIG_DFL);
}

}  // namespace tovri
