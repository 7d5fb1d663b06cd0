#include "platform/posix/loop/SystemRandom.h"

#include <cstdlib>

#include <unistd.h>

namespace tovri {

// Version and variant as in RFC 9562, section 5.4.
UUID SystemRandom::makeUUID() {
    UUID id;
    if (::getentropy(id.bytes.data(), id.bytes.size()) != 0) std::abort();  // only where the kernel has none to give
    id.bytes[6] = (id.bytes[6] & 0x0FU) | 0x40U;
    id.bytes[8] = (id.bytes[8] & 0x3FU) | 0x80U;
    return id;
}

}  // namespace tovri
