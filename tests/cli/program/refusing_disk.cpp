// Put before the system's library, this is a disk that refuses to keep what lies below the folder $REFUSED, takes its
// time for what lies below the folder $SLOW, and does not answer for what lies below the folder $SILENT as long as the
// file $SILENCE is there.
#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>

#include <dlfcn.h>
#include <unistd.h>

namespace {

bool isBelow(const char* variable, int descriptor) {
    const char* const folder = std::getenv(variable);
    if (folder == nullptr) return false;
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    std::string path(4096, '\0');
    const ssize_t length = ::readlink(link.c_str(), path.data(), path.size());
    path.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return std::string_view(path).starts_with(folder);
}

int passOn(const char* name, int descriptor) {
    constexpr unsigned longerThanAnyEndWaits = 3;  // seconds
    if (isBelow("SLOW", descriptor)) ::sleep(longerThanAnyEndWaits);
    if (const char* silence = std::getenv("SILENCE"); silence != nullptr && isBelow("SILENT", descriptor))
        while (::access(silence, F_OK) == 0) ::usleep(10'000);
    if (isBelow("REFUSED", descriptor)) {
        errno = EIO;
        return -1;
    }
    return reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, name))(descriptor);
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
    return passOn("fsync", descriptor);
}

int fdatasync(int descriptor) {
    return passOn("fdatasync", descriptor);
}

int syncfs(int descriptor) noexcept {
    return passOn("syncfs", descriptor);
}

}  // extern "C"
