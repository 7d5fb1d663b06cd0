#include "platform/posix/XDGFolders.h"

#include <cerrno>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/FileError.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

Path absoluteOr(const char* variable, Path otherwise) {
    const char* const value = std::getenv(variable);
    if (value == nullptr || *value != '/') return otherwise;
    return value;
}

Path homeFolder() {
    const passwd* const user = ::getpwuid(::getuid());
    return absoluteOr("HOME", user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/");
}

}  // namespace

XDGFolders XDGFolders::fromEnvironment() {
    const Path home = homeFolder();
    XDGFolders folders;
    folders.standard.home = home;
    folders.standard.applicationData = absoluteOr("XDG_DATA_HOME", home / ".local/share") / "Tovri";
    folders.standard.temporary = absoluteOr("TMPDIR", "/tmp");
    folders.configuration = absoluteOr("XDG_CONFIG_HOME", home / ".config") / "Tovri";
    folders.state = absoluteOr("XDG_STATE_HOME", home / ".local/state") / "Tovri";
    return folders;
}

Result<void> createPrivateFolder(const Path& folder) {
    if (::mkdir(folder.c_str(), S_IRWXU) == 0) return {};
    int number = errno;
    if (number == ENOENT && folder.has_relative_path() && folder.has_parent_path()) {
        if (auto parent = createPrivateFolder(folder.parent_path()); !parent) return parent;
        if (::mkdir(folder.c_str(), S_IRWXU) == 0) return {};
        number = errno;
    }
    struct stat status{};
    if (::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return {};
    return failure(fileError("create the folder", folder, number == EEXIST ? ENOTDIR : number));
}

}  // namespace tovri
