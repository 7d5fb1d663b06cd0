#include "platform/posix/loop/SystemRandom.h"

#include <uuid/uuid.h>

namespace tovri {

UUID SystemRandom::makeUUID() {
    UUID id;
    uuid_generate_random(id.bytes.data());
    return id;
}

}  // namespace tovri
