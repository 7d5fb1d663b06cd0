#include "sandbox/account/TreeWriter.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include <fmt/format.h>

namespace tovri::sandbox {
namespace {

namespace fs = std::filesystem;

std::string reasonToSkip(const std::string& name, const fs::path& target) {
    if (name.empty() || name == "." || name == "..") return "no name for a file";
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos) return "holds a slash or a NUL";
    if (name.size() > 255) return "longer than 255 bytes";
    return fs::exists(fs::symlink_status(target)) ? "the name is taken" : "";
}

void writeContent(const Content& content, const fs::path& target) {
    std::ofstream file(target, std::ios::binary);
    std::vector<char> buffer(1 << 20);
    for (std::uint64_t at = 0; at < content.size();) {
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), content.size() - at));
        content.read(at, std::span(buffer).first(count));
        file.write(buffer.data(), static_cast<std::streamsize>(count));
        at += count;
    }
    if (!file.flush()) throw std::runtime_error(fmt::format("cannot write {}", target.string()));
}

void writeFolder(const Account& account, FileID folderID, const fs::path& folder, WrittenTree& written) {
    fs::create_directories(folder);
    for (const File& file : account.children(folderID)) {
        const fs::path target = folder / file.name;
        if (const std::string reason = reasonToSkip(file.name, target); !reason.empty()) {
            written.skipped.push_back(fmt::format("{} (ID {}): {}", file.name, file.id, reason));
        } else if (file.isFolder) {
            writeFolder(account, file.id, target, written);
        } else {
            writeContent(file.content(), target);
            ++written.files;
            written.bytes += static_cast<std::uint64_t>(file.size);
        }
    }
}

}  // namespace

WrittenTree writeTree(const Account& account, const fs::path& folder) {
    WrittenTree written;
    writeFolder(account, rootID, folder, written);
    return written;
}

}  // namespace tovri::sandbox
