#include "platform/posix/stores/FileCredentialStore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/folders/XDGFolders.h"

namespace tovri {
namespace {

constexpr mode_t others = S_IRWXG | S_IRWXO;

bool isShutToOthers(const std::filesystem::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status{};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) return false;
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return false;
    return (status.st_mode & others) == 0 || ::fchmod(file.number(), S_IRUSR | S_IWUSR) == 0;
}

}  // namespace

std::optional<std::string> FileCredentialStore::load(const std::string& account) {
    return read().string(account);
}

void FileCredentialStore::save(const std::string& account, const std::string& value) {
    JSONObject secrets = read();
    secrets.setString(account, value);
    write(secrets);
}

void FileCredentialStore::remove(const std::string& account) {
    JSONObject secrets = read();
    if (!secrets.string(account)) return;
    secrets.remove(account);
    write(secrets);
}

JSONObject FileCredentialStore::read() {
    if (!isShutToOthers(file_)) return {};
    const auto text = files_.readFile(file_);
    if (!text) return {};
    return JSONObject::parse(*text).value_or(JSONObject());
}

void FileCredentialStore::write(const JSONObject& secrets) {
    if (!createPrivateFolder(file_.parent_path())) return;
    static_cast<void>(files_.writeFileAtomically(file_, secrets.text()));
}

}  // namespace tovri
