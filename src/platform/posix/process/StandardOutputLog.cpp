#include "platform/posix/process/StandardOutputLog.h"

#include <string>

#include "base/PlainText.h"

namespace tovri {

void StandardOutputLog::line(std::string_view text) {
    std::string whole = plainLine(text);
    whole += '\n';
    ::flockfile(stream_);
    std::fwrite(whole.data(), 1, whole.size(), stream_);
    std::fflush(stream_);
    ::funlockfile(stream_);
}

}  // namespace tovri
