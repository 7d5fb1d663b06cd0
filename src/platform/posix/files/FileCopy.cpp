#include "platform/posix/files/FileCopy.h"

#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/files/FileError.h"
#include "platform/posix/files/RegularFile.h"

namespace tovri {
namespace {

// Between two looks at the stop token: 4 MiB take a slow disk a tenth of a second.
constexpr std::size_t chunk = std::size_t{4} << 20U;

// From wherever both descriptors stand to the end of `from`.
int copyThroughMemory(int from, int to, const std::stop_token& stop) {
    std::vector<char> buffer(chunk);
    while (true) {
        if (stop.stop_requested()) return ECANCELED;
        const ssize_t count = retrying([&] { return ::read(from, buffer.data(), buffer.size()); });
        if (count < 0) return errno;
        if (count == 0) return 0;
        const int failed = writeAll(to, {buffer.data(), static_cast<std::size_t>(count)});
        if (failed != 0) return failed;
    }
}

}  // namespace

Result<NewFile> copyOf(const std::filesystem::path& file, std::filesystem::path hidden, const std::stop_token& stop) {
    struct stat entry{};
    if (::lstat(file.c_str(), &entry) == 0 && S_ISDIR(entry.st_mode)) return failure(fileError("copy", file, EXDEV));
    Result<RegularFile> source = openRegularFile("copy", file, O_RDONLY | O_NOFOLLOW);
    if (!source) return failure(source);
    const std::filesystem::path folder = hidden.parent_path();
    Result<NewFile> copy = NewFile::create(std::move(hidden), S_IRUSR | S_IWUSR);
    if (!copy) return copy;
    const int failed = copyContent(source->file.number(), copy->descriptor(), source->status.st_size, stop);
    if (auto fine = fileOutcome(failed, "write into", folder); !fine) return failure(fine);
    return copy;
}

int copyContent(int from, int to, ByteCount size, const std::stop_token& stop) {
    if (size == 0) return 0;
    if (::ioctl(to, FICLONE, from) == 0) return 0;
    // A disk that is too small says so now, not after an hour.
    if (::fallocate(to, FALLOC_FL_KEEP_SIZE, 0, size) != 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG))
        return errno;
    for (ByteCount copied = 0; copied < size;) {
        if (stop.stop_requested()) return ECANCELED;
        const ssize_t count = retrying([&] { return ::copy_file_range(from, nullptr, to, nullptr, chunk, 0); });
        if (count < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG || errno == EIO)) return errno;
        if (count <= 0) break;  // not between these two file systems, or the file is shorter than it was
        copied += count;
    }
    return copyThroughMemory(from, to, stop);
}

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = retrying([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (count < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

}  // namespace tovri
