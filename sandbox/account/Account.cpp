#include "sandbox/account/Account.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "sandbox/Random.h"
#include "sandbox/account/ContentTypes.h"

namespace tovri::sandbox {

namespace {

File folderNamed(std::string name) {
    File folder;
    folder.name = std::move(name);
    folder.isFolder = true;
    folder.contentType = "application/x-directory";
    return folder;
}

File fileFrom(NewFile wanted) {
    File file;
    file.size = static_cast<std::int64_t>(wanted.storedContent ? wanted.storedContent->size() : wanted.size);
    file.contentType = wanted.contentType.empty() ? contentTypeForName(wanted.name) : std::move(wanted.contentType);
    file.name = std::move(wanted.name);
    file.storedContent = std::move(wanted.storedContent);
    file.knownCRC32 = wanted.knownCRC32;
    file.isContentLost = wanted.isContentLost;
    return file;
}

}  // namespace

Content File::content() const {
    if (storedContent) return Content::stored(storedContent);
    return Content::generated(mix(contentSeed + version), static_cast<std::uint64_t>(size));
}

std::string File::entityTag() const {
    return fmt::format("\"{:x}-{:x}-{:x}\"", contentSeed, version, size);
}

Account::Account() {
    File root = folderNamed("Your Files");
    root.createdAt = root.updatedAt = unixTimeNow();
    nodes_.emplace(rootID, Node{std::move(root), {}});
}

void Account::reseed(std::uint64_t seed) {
    const std::scoped_lock lock(mutex_);
    seed_ = seed;
}

FileID Account::addFolder(FileID parentID, std::string name) {
    const std::scoped_lock lock(mutex_);
    return insert(parentID, folderNamed(std::move(name)));
}

FileID Account::addFile(FileID parentID, NewFile wanted) {
    const std::scoped_lock lock(mutex_);
    return insert(parentID, fileFrom(std::move(wanted)));
}

FileID Account::makeFolders(std::string_view path) {
    const std::scoped_lock lock(mutex_);
    FileID at = rootID;
    while (!path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        if (name.empty()) continue;
        const std::vector<FileID>& entries = nodes_.at(at).children;
        const auto known = std::ranges::find_if(entries, [&](FileID id) {
            const File& entry = nodes_.at(id).file;
            return entry.isFolder && entry.name == name;
        });
        at = known != entries.end() ? *known : insert(at, folderNamed(std::string(name)));
    }
    return at;
}

FileID Account::insert(FileID parentID, File file) {
    auto parent = nodes_.find(parentID);
    if (parent == nodes_.end() || !parent->second.file.isFolder) parent = nodes_.find(parentID = rootID);
    const FileID id = ++lastID_;
    file.id = id;
    file.parentID = parentID;
    file.createdAt = file.updatedAt = unixTimeNow();
    file.contentSeed = mix(seed_ ^ mix(static_cast<std::uint64_t>(id)));
    parent->second.children.push_back(id);
    resizeAncestors(parentID, file.size);
    nodes_.emplace(id, Node{std::move(file), {}});
    return id;
}

std::optional<File> Account::find(FileID id) const {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (found == nodes_.end()) return std::nullopt;
    return found->second.file;
}

std::optional<File> Account::findPath(std::string_view path) const {
    std::optional<File> at = find(rootID);
    while (at && !path.empty()) {
        const std::string_view name = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        if (name.empty()) continue;
        const std::vector<File> entries = children(at->id);
        const auto found = std::ranges::find(entries, name, &File::name);
        at = found == entries.end() ? std::nullopt : std::optional(*found);
    }
    return at;
}

std::vector<File> Account::children(FileID folderID, std::size_t from, std::size_t count) const {
    const std::scoped_lock lock(mutex_);
    std::vector<File> files;
    const auto folder = nodes_.find(folderID);
    if (folder == nodes_.end()) return files;
    const std::vector<FileID>& ids = folder->second.children;
    const std::size_t first = std::min(from, ids.size());
    const std::size_t last = first + std::min(count, ids.size() - first);
    files.reserve(last - first);
    for (std::size_t at = first; at < last; ++at) files.push_back(nodes_.at(ids[at]).file);
    return files;
}

std::size_t Account::childCount(FileID folderID) const {
    const std::scoped_lock lock(mutex_);
    const auto folder = nodes_.find(folderID);
    return folder == nodes_.end() ? 0 : folder->second.children.size();
}

std::vector<std::string> Account::namesTo(FileID id) const {
    const std::scoped_lock lock(mutex_);
    std::vector<std::string> names;
    for (auto node = nodes_.find(id); node != nodes_.end() && node->first != rootID;
         node = nodes_.find(node->second.file.parentID)) {
        names.push_back(node->second.file.name);
    }
    std::ranges::reverse(names);
    return names;
}

bool Account::remove(FileID id) {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (found == nodes_.end() || id == rootID) return false;
    detach(found->second);
    std::vector<FileID> doomed = {id};
    while (!doomed.empty()) {
        const auto node = nodes_.extract(doomed.back());
        doomed.pop_back();
        std::ranges::copy(node.mapped().children, std::back_inserter(doomed));
    }
    return true;
}

bool Account::move(FileID id, FileID targetFolderID) {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    const auto target = nodes_.find(targetFolderID);
    if (id == rootID || found == nodes_.end() || target == nodes_.end()) return false;
    if (!target->second.file.isFolder || isWithin(targetFolderID, id)) return false;
    detach(found->second);
    found->second.file.parentID = targetFolderID;
    target->second.children.push_back(id);
    resizeAncestors(targetFolderID, found->second.file.size);
    return true;
}

bool Account::rename(FileID id, std::string name) {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (id == rootID || found == nodes_.end()) return false;
    found->second.file.name = std::move(name);
    found->second.file.updatedAt = unixTimeNow();
    return true;
}

std::optional<FileID> Account::replace(FileID id, NewFile file) {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (found == nodes_.end() || found->second.file.isFolder) return std::nullopt;
    const FileID parentID = found->second.file.parentID;
    detach(found->second);
    nodes_.erase(found);
    return insert(parentID, fileFrom(std::move(file)));
}

void Account::changeContent(FileID id) {
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (found == nodes_.end()) return;
    File& file = found->second.file;
    ++file.version;
    file.storedContent = nullptr;
    file.knownCRC32.reset();
    ++file.updatedAt;  // HTTP dates have whole seconds; the change must show all the same
}

std::optional<std::uint32_t> Account::crc32(FileID id) {
    const std::optional<File> file = find(id);
    if (!file || file->isFolder) return std::nullopt;
    if (file->knownCRC32) return file->knownCRC32;
    const std::uint32_t crc = file->content().crc32();
    const std::scoped_lock lock(mutex_);
    const auto found = nodes_.find(id);
    if (found != nodes_.end() && found->second.file.version == file->version) found->second.file.knownCRC32 = crc;
    return crc;
}

std::int64_t Account::used() const {
    const std::scoped_lock lock(mutex_);
    return nodes_.at(rootID).file.size;
}

void Account::resizeAncestors(FileID parentID, std::int64_t by) {
    for (FileID at = parentID;; at = nodes_.at(at).file.parentID) {
        nodes_.at(at).file.size += by;
        if (at == rootID) return;
    }
}

void Account::detach(const Node& node) {
    std::erase(nodes_.at(node.file.parentID).children, node.file.id);
    resizeAncestors(node.file.parentID, -node.file.size);
}

bool Account::isWithin(FileID id, FileID folderID) const {
    for (FileID at = id; at != rootID; at = nodes_.at(at).file.parentID) {
        if (at == folderID) return true;
    }
    return false;
}

}  // namespace tovri::sandbox
