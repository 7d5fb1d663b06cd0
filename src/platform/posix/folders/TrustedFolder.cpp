#include "platform/posix/folders/TrustedFolder.h"

#include <array>
#include <cerrno>
#include <climits>
#include <functional>
#include <string>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

constexpr int asAPlace = O_PATH | O_CLOEXEC;

// The way to one folder.
class Way {
public:
    // Makes what is missing in an open folder; 0 or an errno value. `path` is what it will be, as the user knows it.
    using Make = std::function<int(int folder, const Path& name, const Path& path)>;

    Way(std::string_view action, const Path& whole, Make make)
        : action_(action), whole_(whole), make_(std::move(make)) {}

    Result<FileDescriptor> go() {
        if (!whole_.is_absolute()) here_ = FileDescriptor(::open(".", asAPlace | O_DIRECTORY));
        for (const Path& part : whole_) {
            if (part.empty()) continue;  // behind a slash at the end
            walked_ /= part;
            if (Result<void> gone = step(part, make_); !gone) return failure(gone);
        }
        return std::move(here_);
    }

private:
    Result<void> step(const Path& part, const Make& make) {
        const bool isTop = part.is_absolute();
        FileDescriptor next(
            ::openat(isTop ? AT_FDCWD : here_.number(), part.c_str(), asAPlace | O_DIRECTORY | O_NOFOLLOW));
        if (!next.isOpen() && errno == ENOENT && make) {
            const int failed = make(here_.number(), part, walked_);
            if (failed != 0 && failed != EEXIST) return fileOutcome(failed, action_, whole_);
            return step(part, {});
        }
        if (!next.isOpen() && (errno == ENOTDIR || errno == ELOOP)) return follow(part);
        if (!next.isOpen()) return fileOutcome(errno, action_, whole_);
        here_ = std::move(next);
        return {};
    }

    // What stands there is a link, or no folder.
    Result<void> follow(const Path& name) {
        constexpr int mostLinks = 40;  // path_resolution(7)
        const FileDescriptor link(::openat(here_.number(), name.c_str(), asAPlace | O_NOFOLLOW));
        struct stat status{};
        if (!link.isOpen() || ::fstat(link.number(), &status) != 0) return fileOutcome(errno, action_, whole_);
        if (!S_ISLNK(status.st_mode)) return fileOutcome(ENOTDIR, action_, whole_);
        if (!isTrusted(status)) return refusal();
        if (++links_ > mostLinks) return fileOutcome(ELOOP, action_, whole_);
        std::array<char, PATH_MAX> target{};
        const ssize_t length = ::readlinkat(link.number(), "", target.data(), target.size());
        if (length < 0) return fileOutcome(errno, action_, whole_);
        for (const Path& part : Path(std::string(target.data(), static_cast<std::size_t>(length)))) {
            if (part.empty()) continue;
            if (Result<void> gone = step(part, {}); !gone) return gone;
        }
        return {};
    }

    [[nodiscard]] bool isTrusted(const struct stat& link) const {
        if (link.st_uid != ::geteuid() && link.st_uid != 0) return false;
        struct stat above{};
        return ::fstat(here_.number(), &above) == 0 && (above.st_mode & S_IWOTH) == 0;
    }

    [[nodiscard]] Result<void> refusal() const {
        return failure(Error(ErrorCase::file, "\"" + displayText(walked_) +
                                                  "\" is a link that somebody else could have made; put a folder in "
                                                  "its place and try again."));
    }

    std::string_view action_;
    const Path& whole_;
    Make make_;
    FileDescriptor here_;
    Path walked_;  // as the user knows it
    int links_ = 0;
};

// In one call where the system has it and there are no links at all.
FileDescriptor openWithoutLinks(const Path& path) {
    struct open_how how{};
    how.flags = asAPlace | O_DIRECTORY;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return FileDescriptor(static_cast<int>(::syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof(how))));
}

Result<FileDescriptor> reach(std::string_view action, const Path& path, Way::Make make) {
    const Path whole = path.empty() ? Path(".") : path;
    if (FileDescriptor folder = openWithoutLinks(whole); folder.isOpen()) return folder;
    return Way(action, whole, std::move(make)).go();
}

}  // namespace

Result<FileDescriptor> openTrustedFolder(std::string_view action, const Path& path) {
    return reach(action, path, {});
}

Result<FileDescriptor> makeTrustedFolder(std::string_view action, const Path& path, mode_t mode, NewFolders& made) {
    return reach(action, path, [mode, &made](int folder, const Path& name, const Path& whole) {
        if (::mkdirat(folder, name.c_str(), mode) != 0) return errno;
        made.noteMade(whole);
        return 0;
    });
}

Path entryOf(const FileDescriptor& folder, const Path& name) {
    return Path("/proc/self/fd") / std::to_string(folder.number()) / name;
}

}  // namespace tovri
