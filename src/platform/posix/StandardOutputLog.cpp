#include "platform/posix/StandardOutputLog.h"

#include <string>

namespace tovri {

void StandardOutputLog::line(std::string_view text) {
    std::string whole(text);
    whole += '\n';
    ::flockfile(stream_);
    std::fwrite(whole.data(), 1, whole.size(), stream_);
    std::fflush(stream_);
    ::funlockfile(stream_);
}

}  // namespace tovri
