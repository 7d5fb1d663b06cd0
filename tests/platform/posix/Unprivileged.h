#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

namespace tovri::test {

// The rights of a user who owns nothing, where the tests run as root.
class Unprivileged {
public:
    Unprivileged() : before_(::setfsuid(::geteuid() == 0 ? nobody : ::geteuid())) {}

    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

    ~Unprivileged() { ::setfsuid(static_cast<uid_t>(before_)); }

private:
    static constexpr uid_t nobody = 65534;
    int before_;
};

}  // namespace tovri::test
