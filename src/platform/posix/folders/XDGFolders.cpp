#include "platform/posix/folders/XDGFolders.h"

#include <cerrno>
#include <cstdlib>

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"
#include "platform/posix/process/LeftUploads.h"

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
    folders.standard.uploadPrefix = uploadPrefixOf(::getpid());
    folders.configuration = absoluteOr("XDG_CONFIG_HOME", home / ".config") / "Tovri";
    folders.state = absoluteOr("XDG_STATE_HOME", home / ".local/state") / "Tovri";
    return folders;
}

namespace {

// 0, or an errno value.
int makeWithParents(const Path& folder) {
    if (::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST) return 0;
    if (errno != ENOENT || !folder.has_relative_path() || !folder.has_parent_path()) return errno;
    if (const int failed = makeWithParents(folder.parent_path()); failed != 0) return failed;
    return ::mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST ? 0 : errno;
}

}  // namespace

Result<void> createPrivateFolder(const Path& folder) {
    if (const int failed = makeWithParents(folder); failed != 0)
        return failure(fileError("create the folder", folder, failed));
    struct stat status{};
    if (::stat(folder.c_str(), &status) != 0) return failure(fileError("use the folder", folder, errno));
    if (!S_ISDIR(status.st_mode)) return failure(fileError("create the folder", folder, ENOTDIR));
    if (status.st_uid != ::geteuid())
        return failure(Error(ErrorCase::file, "The folder \"" + displayText(folder) +
                                                  "\" belongs to another user; Tovri uses only folders of your own."));
    const bool isPrivate = (status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) == S_IRWXU;
    if (!isPrivate && ::chmod(folder.c_str(), S_IRWXU) != 0) return failure(fileError("use the folder", folder, errno));
    return {};
}

}  // namespace tovri
