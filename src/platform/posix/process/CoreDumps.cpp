#include "platform/posix/process/CoreDumps.h"

#include <sys/resource.h>

namespace tovri {

void forbidCoreDumps() {
    const rlimit none{.rlim_cur = 0, .rlim_max = 0};
    (void)::setrlimit(RLIMIT_CORE, &none);
}

}  // namespace tovri
