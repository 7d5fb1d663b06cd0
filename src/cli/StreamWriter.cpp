#include "cli/StreamWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovri::cli {
namespace {

// O_NONBLOCK belongs to the open file description (open(2)), which the user's shell shares: it would find its own
// terminal changed. So it is set on a description of our own. Not for a file, whose offset would be another one.
int openForItself(int descriptor) {
    struct stat entry{};
    if (::fstat(descriptor, &entry) != 0 || !(S_ISFIFO(entry.st_mode) || S_ISCHR(entry.st_mode))) return -1;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

StreamWriter::StreamWriter(int descriptor, OnWritable onWritable)
    : descriptor_(descriptor), ownDescription_(openForItself(descriptor)), onWritable_(std::move(onWritable)) {
    if (ownDescription_ >= 0) descriptor_ = ownDescription_;
}

StreamWriter::~StreamWriter() {
    writable_.reset();
    if (ownDescription_ >= 0) ::close(ownDescription_);
}

void StreamWriter::write(std::string_view text) {
    if (isBroken_) return;
    text_ += text;
    if (!writable_.isActive()) writeOn();
}

void StreamWriter::writeOn() {
    const bool wasBehind = writable_.isActive();
    if (writeWhatFits()) {
        text_ = {};
        written_ = 0;
        writable_.reset();
        if (wasBehind && caughtUp_) caughtUp_();
        return;
    }
    if (written_ > text_.size() / 2) text_.erase(0, std::exchange(written_, 0));
    if (!wasBehind) writable_ = onWritable_(descriptor_, [this] { writeOn(); });
}

// Whether all did. Where the description had to stay a blocking one, a write of no more than PIPE_BUF bytes does not
// block after poll: Linux calls a pipe writable when a whole page of it is free (pipe_poll in its fs/pipe.c).
bool StreamWriter::writeWhatFits() {
    while (isBehind()) {
        std::size_t count = text_.size() - written_;
        if (mayBlock()) {
            pollfd stream{descriptor_, POLLOUT, 0};
            if (::poll(&stream, 1, 0) == 0) return false;
            count = std::min<std::size_t>(count, PIPE_BUF);
        }
        const ssize_t taken = ::write(descriptor_, text_.data() + written_, count);
        if (taken >= 0)
            written_ += static_cast<std::size_t>(taken);
        else if (errno == EAGAIN)
            return false;
        else if (errno != EINTR)
            giveUp(errno);
    }
    return true;
}

void StreamWriter::giveUp(int reason) {
    isBroken_ = true;
    hasLostText_ = reason != EPIPE;
    written_ = text_.size();
}

}  // namespace tovri::cli
