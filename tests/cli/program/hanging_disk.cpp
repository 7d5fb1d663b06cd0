// Put before the system's library, this is a disk that answers nothing: whoever asks for something below the folder
// $HANGING, by its path, waits for ever. The folder $HANGED is made when the first one does.
#undef _FORTIFY_SOURCE  // its checked calls would stand in the place of these

#include <cstdarg>
#include <cstdlib>
#include <string_view>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

void hangBelow(const char* path) {
    const char* const folder = std::getenv("HANGING");
    if (folder == nullptr || path == nullptr || !std::string_view(path).starts_with(folder)) return;
    if (const char* const hanged = std::getenv("HANGED")) ::mkdirat(AT_FDCWD, hanged, S_IRWXU);
    while (true) ::pause();
}

template <class Result, class... Arguments>
Result passOn(const char* name, const char* path, Arguments... arguments) {
    hangBelow(path);
    return reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, name))(arguments...);
}

int openNext(const char* path, int flags, mode_t mode) {
    hangBelow(path);
    return reinterpret_cast<int (*)(const char*, int, ...)>(::dlsym(RTLD_NEXT, "open"))(path, flags, mode);
}

}  // namespace

extern "C" {

int stat(const char* path, struct stat* status) noexcept {
    return passOn<int>("stat", path, path, status);
}

int lstat(const char* path, struct stat* status) noexcept {
    return passOn<int>("lstat", path, path, status);
}

int statx(int folder, const char* path, int flags, unsigned mask, struct statx* status) noexcept {
    return passOn<int>("statx", path, folder, path, flags, mask, status);
}

int statvfs(const char* path, struct statvfs* facts) noexcept {
    return passOn<int>("statvfs", path, path, facts);
}

int statfs(const char* path, struct statfs* facts) noexcept {
    return passOn<int>("statfs", path, path, facts);
}

int faccessat(int folder, const char* path, int mode, int flags) noexcept {
    return passOn<int>("faccessat", path, folder, path, mode, flags);
}

int mkdir(const char* path, mode_t mode) noexcept {
    return passOn<int>("mkdir", path, path, mode);
}

int unlink(const char* path) noexcept {
    return passOn<int>("unlink", path, path);
}

ssize_t lgetxattr(const char* path, const char* name, void* value, size_t size) noexcept {
    return passOn<ssize_t>("lgetxattr", path, path, name, value, size);
}

int lsetxattr(const char* path, const char* name, const void* value, size_t size, int flags) noexcept {
    return passOn<int>("lsetxattr", path, path, name, value, size, flags);
}

ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    return passOn<ssize_t>("readlink", path, path, buffer, size);
}

char* realpath(const char* path, char* resolved) noexcept {
    return passOn<char*>("realpath", path, path, resolved);
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = va_arg(rest, mode_t);
    va_end(rest);
    return openNext(path, flags, mode);
}

}  // extern "C"
