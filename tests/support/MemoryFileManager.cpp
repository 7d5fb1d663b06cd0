// The operations of the port.
#include "support/MemoryFileManager.h"

#include <algorithm>

#include "support/MemoryNode.h"

namespace tovri::test {

using Path = FileManager::Path;

class MemoryFileManager::Handle final : public FileHandle {
public:
    Handle(MemoryFileManager& files, Path path, NodePointer node)
        : files_(files), path_(std::move(path)), node_(std::move(node)) {}

    Result<ByteBlob> read(std::size_t limit) override {
        ByteBlob bytes = node_->bytes.substr(std::min(at_, node_->bytes.size()), limit);
        at_ += bytes.size();
        return bytes;
    }

    Result<void> write(std::string_view bytes) override {
        if (auto fine = files_.begin("write", path_); !fine) return fine;
        if (auto room = files_.checkRoom(path_, static_cast<ByteCount>(bytes.size())); !room) return room;
        node_->bytes += bytes;
        return {};
    }

private:
    MemoryFileManager& files_;
    Path path_;
    NodePointer node_;
    std::size_t at_ = 0;
};

MemoryFileManager::MemoryFileManager() : root_(std::make_shared<Node>(true)) {}

MemoryFileManager::~MemoryFileManager() = default;

bool MemoryFileManager::exists(const Path& path) {
    return find(path) != nullptr;
}

std::optional<ByteCount> MemoryFileManager::fileSize(const Path& path) {
    const NodePointer node = find(path);
    if (!node || node->isFolder) return std::nullopt;
    return static_cast<ByteCount>(node->bytes.size());
}

std::optional<FileIdentity> MemoryFileManager::identity(const Path& path) {
    const NodePointer node = find(path);
    if (!node) return std::nullopt;
    return FileIdentity{volumeNumber(path), reinterpret_cast<std::uintptr_t>(node.get())};
}

std::optional<FileStamp> MemoryFileManager::stamp(const Path& path) {
    const NodePointer node = find(path);
    if (!node || node->isFolder) return std::nullopt;
    const auto changed = static_cast<std::int64_t>(std::hash<std::string>{}(node->mark + '/' + node->bytes));
    return FileStamp{*identity(path), static_cast<ByteCount>(node->bytes.size()), changed};
}

bool MemoryFileManager::isWithin(const Path& path, const Path& folder) {
    return isAtOrBelow(normal(path), normal(folder));
}

Result<void> MemoryFileManager::createDirectories(const Path& path) {
    if (auto fine = begin("createDirectories", path); !fine) return fine;
    return makeFolders(path);
}

Result<void> MemoryFileManager::createPrivateFolder(const Path& path) {
    if (auto fine = begin("createPrivateFolder", path); !fine) return fine;
    if (auto place = slot(path); !place) return failure(place);
    return makeFolders(path);
}

Result<void> MemoryFileManager::makeFolders(const Path& path) {
    Path here = "/";
    NodePointer folder = root_;
    for (const Path& part : normal(path).relative_path()) {
        here /= part;
        NodePointer next = find(here);
        if (!next) {
            if (auto writable = checkWritable(here); !writable) return writable;
            if (auto place = slot(here); !place) return failure(place);
            next = std::make_shared<Node>(true);
            folder->entries[part] = next;
        }
        if (!next->isFolder) return failure(refused(path, here.string() + " is not a folder"));
        folder = next;
    }
    return {};
}

Result<std::vector<Path>> MemoryFileManager::directoryContents(const Path& path) {
    if (auto fine = begin("directoryContents", path); !fine) return failure(fine);
    const NodePointer folder = find(path);
    if (!folder || !folder->isFolder) return failure(missing(path));
    std::vector<Path> found;
    for (const auto& [name, entry] : folder->entries) found.push_back(path / name);
    return found;
}

Result<void> MemoryFileManager::cloneFile(const Path& from, const Path& to) {
    if (auto fine = begin("cloneFile", from, to); !fine) return fine;
    const NodePointer source = find(from);
    if (!source || source->isFolder) return failure(missing(from));
    auto target = slot(to);
    if (!target) return failure(target);
    if (find(to)) return failure(taken(to));
    if (auto writable = checkWritable(to); !writable) return writable;

    NodePointer clone = source;
    if (volumeNumber(from) != volumeNumber(to)) {
        if (auto room = checkRoom(to, static_cast<ByteCount>(source->bytes.size())); !room) return room;
        clone = std::make_shared<Node>(false);
        clone->bytes = source->bytes;
    }
    target->folder->entries[target->name] = clone;
    return {};
}

Result<void> MemoryFileManager::moveItem(const Path& from, const Path& to, std::stop_token stop) {
    if (auto fine = begin("moveItem", from, to); !fine) return fine;
    auto target = slot(to);
    if (!target) return failure(target);
    if (find(to)) return failure(find(from) ? taken(to) : missing(from));
    return put(from, to, *target, stop);
}

Result<void> MemoryFileManager::replaceItem(const Path& from, const Path& to, std::stop_token stop) {
    if (auto fine = begin("replaceItem", from, to); !fine) return fine;
    auto target = slot(to);
    if (!target) return failure(target);
    return put(from, to, *target, stop);
}

// The common end of moving and replacing.
Result<void> MemoryFileManager::put(const Path& from, const Path& to, const Slot& target, const std::stop_token& stop) {
    NodePointer source = find(from);
    if (!source) return failure(missing(from));
    for (const Path& path : {from, to})
        if (auto writable = checkWritable(path); !writable) return writable;

    if (volumeNumber(from) != volumeNumber(to)) {
        if (source->isFolder) return failure(refused(from, "a folder cannot be moved to another volume"));
        if (stop.stop_requested()) return failure(Error::cancelled());
        if (auto room = checkRoom(to, static_cast<ByteCount>(source->bytes.size())); !room) return room;
        source = std::make_shared<Node>(*source);
        source->makeDurable();
    }
    if (normal(from) == normal(to)) return {};
    if (isAtOrBelow(normal(from), normal(to))) return failure(missing(from));
    makeWay(to, target);
    target.folder->entries[target.name] = source;
    slot(from)->folder->entries.erase(normal(from).filename());
    return {};
}

Result<void> MemoryFileManager::adoptFolderPermissions(const Path& file, const Path& folder) {
    if (auto fine = begin("adoptFolderPermissions", file, folder); !fine) return fine;
    if (!fileSize(file)) return failure(missing(file));
    if (!find(folder)) return failure(missing(folder));
    return checkWritable(folder);
}

std::string MemoryFileManager::mark(const Path& file) {
    const NodePointer node = find(file);
    return node ? node->mark : std::string();
}

Result<void> MemoryFileManager::setMark(const Path& file, const std::string& mark) {
    if (auto fine = begin("setMark", file); !fine) return fine;
    const NodePointer node = find(file);
    if (!node || node->isFolder) return failure(missing(file));
    if (auto writable = checkWritable(file); !writable) return writable;
    node->mark = mark;
    return {};
}

void MemoryFileManager::makeWay(const Path& path, const Slot& place) {
    const NodePointer old = find(path);
    if (!old || !old->isFolder) return;
    const std::size_t longestName = disks_.at(mountPointOf(path)).longestName;
    int number = 1;
    while (find(replacedPath(normal(path), number, longestName))) ++number;
    place.folder->entries[replacedPath(normal(path), number, longestName).filename()] = old;
}

Result<void> MemoryFileManager::removeItem(const Path& path) {
    if (auto fine = begin("removeItem", path); !fine) return fine;
    auto place = slot(path);
    if (!place) return failure(place);
    if (!find(path)) return failure(missing(path));
    if (auto writable = checkWritable(path); !writable) return writable;
    place->folder->entries.erase(place->name);
    return {};
}

Result<void> MemoryFileManager::removeFile(const Path& path) {
    if (const NodePointer node = find(path); node && node->isFolder)
        return failure(Error(ErrorCase::file, "Could not remove \"" + path.native() + "\": it is a folder."));
    return removeItem(path);
}

Result<void> MemoryFileManager::makeDurable(const Path& path) {
    if (auto fine = begin("makeDurable", path); !fine) return fine;
    const NodePointer node = find(path);
    if (!node || node->isFolder) return failure(missing(path));
    node->makeDurable();
    makeNameDurable(path);
    return {};
}

std::vector<Result<void>> MemoryFileManager::makeAllDurable(const std::vector<Path>& paths) {
    std::vector<Result<void>> outcomes;
    for (const Path& path : paths) outcomes.push_back(makeDurable(path));
    return outcomes;
}

Result<void> MemoryFileManager::makeFolderDurable(const Path& folder) {
    if (auto fine = begin("makeFolderDurable", folder); !fine) return fine;
    if (!find(folder)) return failure(missing(folder));
    makeNameDurable(folder / "any");
    return {};
}

Result<ByteBlob> MemoryFileManager::readFile(const Path& path) {
    if (auto fine = begin("readFile", path); !fine) return failure(fine);
    auto bytes = content(path);
    if (!bytes) return failure(missing(path));
    return std::move(*bytes);
}

Result<void> MemoryFileManager::writeFileAtomically(const Path& path, const Content& content) {
    if (auto fine = begin("writeFileAtomically", path); !fine) return fine;
    ByteBlob bytes;
    const auto collect = [&](std::string_view piece) {
        bytes += piece;
        return Result<void>();
    };
    if (auto given = content(collect); !given) return given;
    auto target = slot(path);
    if (!target) return failure(target);
    const NodePointer old = find(path);
    if (old && old->isFolder) return failure(refused(path, "a folder stands there"));
    if (auto writable = checkWritable(path); !writable) return writable;
    if (auto room = checkRoom(path, static_cast<ByteCount>(bytes.size())); !room) return room;
    auto file = std::make_shared<Node>(false);
    file->bytes = std::move(bytes);
    file->makeDurable();
    target->folder->entries[target->name] = file;
    makeNameDurable(path);
    return {};
}

Result<void> MemoryFileManager::append(const Path& path, std::string_view bytes) {
    const NodePointer file = find(path);
    if (!file) return failure(missing(path));
    return Handle(*this, path, file).write(bytes);
}

Result<void> MemoryFileManager::appendToFile(const Path& path, std::string_view bytes) {
    if (auto fine = begin("appendToFile", path); !fine) return fine;
    if (!find(path)) {
        auto created = createFile(path);
        if (!created) return failure(created);
    }
    return append(path, bytes);
}

Result<std::unique_ptr<FileHandle>> MemoryFileManager::openForReading(const Path& path) {
    if (auto fine = begin("openForReading", path); !fine) return failure(fine);
    const NodePointer node = find(path);
    if (!node || node->isFolder) return failure(missing(path));
    return std::make_unique<Handle>(*this, path, node);
}

Result<std::unique_ptr<FileHandle>> MemoryFileManager::createFile(const Path& path) {
    if (auto fine = begin("createFile", path); !fine) return failure(fine);
    auto target = slot(path);
    if (!target) return failure(target);
    if (find(path)) return failure(taken(path));
    if (auto writable = checkWritable(path); !writable) return failure(writable);
    auto file = std::make_shared<Node>(false);
    target->folder->entries[target->name] = file;
    return std::make_unique<Handle>(*this, path, file);
}

MemoryFileManager::NodePointer MemoryFileManager::find(const Path& path) const {
    NodePointer node = root_;
    for (const Path& part : normal(path).relative_path()) {
        const auto entry = node->entries.find(part);
        if (entry == node->entries.end()) return nullptr;
        node = entry->second;
    }
    return node;
}

Result<MemoryFileManager::Slot> MemoryFileManager::slot(const Path& path) const {
    const Path clean = normal(path);
    const NodePointer folder = find(clean.parent_path());
    if (!folder) return failure(missing(clean.parent_path()));
    if (!folder->isFolder) return failure(refused(path, clean.parent_path().string() + " is not a folder"));
    if (clean.filename().native().size() > disks_.at(mountPointOf(path)).longestName)
        return failure(refused(path, "the name is too long"));
    return Slot{folder.get(), clean.filename()};
}

void MemoryFileManager::makeNameDurable(const Path& path) {
    Node* folder = root_.get();
    for (const Path& part : normal(path).parent_path().relative_path()) {
        const NodePointer& next = folder->entries[part];
        folder->durableEntries[part] = next;
        folder = next.get();
    }
    folder->durableEntries = folder->entries;
}

}  // namespace tovri::test
