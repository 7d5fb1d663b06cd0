#include "platform/posix/order/CallRecorder.h"

#include <cerrno>
#include <cstdarg>

#include <linux/fs.h>
#include <sys/stat.h>

namespace tovri::test {
namespace {

CallRecorder* recorder = nullptr;

// What is named by an open folder has the folder's path; a nameless file has none.
std::filesystem::path named(const std::filesystem::path& path) {
    const std::filesystem::path folder = path.parent_path();
    if (folder == "/proc/self/fd") return {};
    return folder.parent_path() == "/proc/self/fd" ? std::filesystem::read_symlink(folder) / path.filename() : path;
}

SystemCall onFile(SystemCall::Kind kind, int descriptor) {
    struct stat status{};
    ::fstat(descriptor, &status);
    return {kind, {status.st_dev, status.st_ino}, {}, {}};
}

SystemCall onName(SystemCall::Kind kind, const char* from, const char* path) {
    return {kind, {}, named(from), named(path)};
}

// Does the call, unless it is to fail.
template <class Do>
auto recorded(const SystemCall& call, Do act) -> decltype(act()) {
    if (recorder == nullptr) return act();
    if (const int number = recorder->fault(call); number != 0) {
        errno = number;
        return -1;
    }
    const auto result = act();
    if (result >= 0) recorder->calls.push_back(call);
    return result;
}

}  // namespace

CallRecorder::CallRecorder() {
    recorder = this;
}

CallRecorder::~CallRecorder() {
    recorder = nullptr;
}

// The linker's names (ld(1), --wrap): a call of fsync goes to __wrap_fsync, and __real_fsync is the system's.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming, cert-dcl50-cpp)
extern "C" {

int __real_fsync(int descriptor);
int __real_fdatasync(int descriptor);
int __real_syncfs(int descriptor);
int __real_rename(const char* from, const char* to);
int __real_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags);
int __real_link(const char* from, const char* to);
int __real_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags);
int __real_unlink(const char* path);
ssize_t __real_write(int descriptor, const void* bytes, std::size_t count);
ssize_t __real_copy_file_range(int from, off_t* fromAt, int to, off_t* toAt, std::size_t count, unsigned flags);
int __real_ioctl(int descriptor, unsigned long request, void* argument);

int __wrap_fsync(int descriptor) {
    return recorded(onFile(SystemCall::Kind::synchronize, descriptor), [=] { return __real_fsync(descriptor); });
}

int __wrap_fdatasync(int descriptor) {
    return recorded(onFile(SystemCall::Kind::synchronize, descriptor), [=] { return __real_fdatasync(descriptor); });
}

int __wrap_syncfs(int descriptor) {
    return recorded(onFile(SystemCall::Kind::synchronizeVolume, descriptor), [=] { return __real_syncfs(descriptor); });
}

int __wrap_rename(const char* from, const char* to) {
    return recorded(onName(SystemCall::Kind::giveName, from, to), [=] { return __real_rename(from, to); });
}

int __wrap_renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
    return recorded(onName(SystemCall::Kind::giveName, from, to),
                    [=] { return __real_renameat2(fromFolder, from, toFolder, to, flags); });
}

int __wrap_link(const char* from, const char* to) {
    return recorded(onName(SystemCall::Kind::giveName, from, to), [=] { return __real_link(from, to); });
}

int __wrap_linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) {
    return recorded(onName(SystemCall::Kind::giveName, from, to),
                    [=] { return __real_linkat(fromFolder, from, toFolder, to, flags); });
}

int __wrap_unlink(const char* path) {
    return recorded(onName(SystemCall::Kind::removeName, "", path), [=] { return __real_unlink(path); });
}

ssize_t __wrap_write(int descriptor, const void* bytes, std::size_t count) {
    return recorded(onFile(SystemCall::Kind::writeBytes, descriptor),
                    [=] { return __real_write(descriptor, bytes, count); });
}

ssize_t __wrap_copy_file_range(int from, off_t* fromAt, int to, off_t* toAt, std::size_t count, unsigned flags) {
    return recorded(onFile(SystemCall::Kind::writeBytes, to),
                    [=] { return __real_copy_file_range(from, fromAt, to, toAt, count, flags); });
}

int __wrap_ioctl(int descriptor, unsigned long request, ...) {
    std::va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (recorder == nullptr || request != FICLONE) return __real_ioctl(descriptor, request, argument);
    errno = EOPNOTSUPP;
    return -1;
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming, cert-dcl50-cpp)

}  // namespace tovri::test
