// The disk below the files: what a test does to it and finds on it, and how that shows in every operation.
#include <algorithm>
#include <functional>
#include <set>

#include "support/MemoryFileManager.h"
#include "support/MemoryNode.h"

namespace tovri::test {

using Path = FileManager::Path;

void MemoryFileManager::addVolume(const Path& mountPoint) {
    put(mountPoint / "x", "");
    find(mountPoint)->entries.clear();
    find(mountPoint)->makeDurable();
    disks_[normal(mountPoint)] = {.identity = "memory at " + normal(mountPoint).native()};
}

void MemoryFileManager::unmount(const Path& mountPoint) {
    const Path place = normal(mountPoint);
    NodePointer& root = disks_.at(place).detached;
    root = find(place);
    hang(place, std::make_shared<Node>(true));
}

void MemoryFileManager::mount(const Path& mountPoint) {
    const Path place = normal(mountPoint);
    hang(place, std::exchange(disks_.at(place).detached, nullptr));
}

void MemoryFileManager::mountElsewhere(const Path& mountPoint, const Path& place) {
    if (!disks_.at(normal(mountPoint)).detached) unmount(mountPoint);
    put(place / "x", "");
    auto disk = disks_.extract(normal(mountPoint));
    disk.key() = normal(place);
    disks_.insert(std::move(disk));
    mount(place);
}

// Puts the folder into the tree, for a loss of power too.
void MemoryFileManager::hang(const Path& place, NodePointer folder) {
    Node& above = *find(place.parent_path());
    above.durableEntries[place.filename()] = folder;
    above.entries[place.filename()] = std::move(folder);
}

void MemoryFileManager::setCapacity(const Path& volume, ByteCount capacity) {
    disks_.at(mountPointOf(volume)).capacity = capacity;
}

void MemoryFileManager::setLongestName(const Path& volume, std::size_t length) {
    disks_.at(mountPointOf(volume)).longestName = length;
}

void MemoryFileManager::setReadOnly(const Path& folder, bool isReadOnly) {
    if (isReadOnly) {
        readOnly_.insert(normal(folder));
    } else {
        readOnly_.erase(normal(folder));
    }
}

void MemoryFileManager::failNext(std::string operation, Path path, Error error, int times) {
    faults_.push_back({std::move(operation), path.empty() ? path : normal(path), std::move(error), times});
}

void MemoryFileManager::powerLoss() {
    root_->losePower();
}

void MemoryFileManager::put(const Path& path, std::string bytes) {
    Node* folder = root_.get();
    const Path clean = normal(path);
    for (const Path& part : clean.parent_path().relative_path()) {
        NodePointer& entry = folder->entries[part];
        if (!entry) entry = std::make_shared<Node>(true);
        folder->durableEntries[part] = entry;
        folder = entry.get();
    }
    auto file = std::make_shared<Node>(false);
    file->bytes = std::move(bytes);
    file->makeDurable();
    folder->entries[clean.filename()] = file;
    folder->durableEntries[clean.filename()] = file;
}

std::optional<std::string> MemoryFileManager::content(const Path& path) {
    const NodePointer node = find(path);
    if (!node || node->isFolder) return std::nullopt;
    return node->bytes;
}

std::map<Path, std::string> MemoryFileManager::files(const Path& folder) {
    return collect(folder, false);
}

std::map<Path, std::string> MemoryFileManager::durableFiles(const Path& folder) {
    return collect(folder, true);
}

std::map<Path, std::string> MemoryFileManager::collect(const Path& folder, bool isDurable) const {
    std::map<Path, std::string> found;
    const std::function<void(const Path&, const Node&)> visit = [&](const Path& path, const Node& node) {
        if (!node.isFolder && isAtOrBelow(path, normal(folder)))
            found[path] = isDurable ? node.durableBytes : node.bytes;
        for (const auto& [name, entry] : isDurable ? node.durableEntries : node.entries) visit(path / name, *entry);
    };
    visit("/", *root_);
    return found;
}

Result<void> MemoryFileManager::begin(const std::string& operation, const Path& path, const Path& target) {
    operations.push_back(operation + " " + path.string() + (target.empty() ? "" : " " + target.string()));
    if (operationsLeft_ && (*operationsLeft_ == 0 || --*operationsLeft_ == 0))
        return failure(refused(path, "the process is gone"));
    for (Fault& fault : faults_) {
        if (fault.times == 0 || fault.operation != operation) continue;
        if (!fault.path.empty() && fault.path != normal(path) && (target.empty() || fault.path != normal(target)))
            continue;
        --fault.times;
        return failure(fault.error);
    }
    return {};
}

Result<void> MemoryFileManager::checkWritable(const Path& path) const {
    for (const Path& folder : readOnly_)
        if (isAtOrBelow(normal(path), folder)) return failure(refused(path, "the folder is read-only"));
    return {};
}

Path MemoryFileManager::mountPointOf(const Path& path) const {
    Path longest = "/";
    for (const auto& [place, disk] : disks_)
        if (!disk.detached && isAtOrBelow(normal(path), place) && place.native().size() > longest.native().size())
            longest = place;
    return longest;
}

std::uint64_t MemoryFileManager::volumeNumber(const Path& path) const {
    return std::hash<std::string>{}(mountPointOf(path).native());
}

Result<Volume> MemoryFileManager::volume(const Path& path) {
    if (auto fine = begin("volume", path); !fine) return failure(fine);
    Volume volume;
    volume.folder = normal(path);
    for (NodePointer node = find(volume.folder); !node || !node->isFolder; node = find(volume.folder))
        volume.folder = volume.folder.parent_path();
    const Path place = mountPointOf(volume.folder);
    const Disk& disk = disks_.at(place);
    volume.number = volumeNumber(volume.folder);
    volume.identity = disk.identity;
    volume.keepsNumbers = true;
    volume.total = disk.capacity;
    if (disk.capacity) volume.available = *disk.capacity - used(place);
    volume.longestName = disk.longestName;
    volume.isWritable = checkWritable(volume.folder).has_value();
    return volume;
}

std::vector<Path> MemoryFileManager::mountPoints(const std::string& identity) {
    std::vector<Path> points;
    for (const auto& [place, disk] : disks_)
        if (!disk.detached && disk.identity == identity) points.push_back(place);
    return points;
}

ByteCount MemoryFileManager::used(const Path& mountPoint) const {
    std::set<const Node*> counted;
    ByteCount sum = 0;
    const std::function<void(const Path&, const Node&)> add = [&](const Path& at, const Node& node) {
        if (mountPointOf(at) == mountPoint && counted.insert(&node).second) sum += node.room();
        for (const auto& [name, entry] : node.entries) add(at / name, *entry);
    };
    add("/", *root_);
    return sum;
}

Result<void> MemoryFileManager::checkRoom(const Path& path, ByteCount more) const {
    const Path place = mountPointOf(path);
    const Disk& disk = disks_.at(place);
    if (disk.capacity && used(place) + more > *disk.capacity)
        return failure(refused(path, "the disk is full", ErrorCase::diskFull));
    return {};
}

}  // namespace tovri::test
