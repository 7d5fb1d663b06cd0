// The files that are filled in any order.
#include <algorithm>

#include "support/MemoryFileManager.h"
#include "support/MemoryNode.h"

namespace tovri::test {

class MemoryFileManager::Writable final : public WritableFile {
public:
    Writable(MemoryFileManager& files, Path path, NodePointer node)
        : files_(files), path_(std::move(path)), node_(std::move(node)) {}

    Result<void> writeAt(ByteCount offset, std::string_view bytes) override {
        if (auto fine = files_.begin("writeAt", path_); !fine) return fine;
        const auto at = static_cast<std::size_t>(offset);
        const std::size_t end = std::max(node_->bytes.size(), at + bytes.size());
        if (auto room = makeRoom(end); !room) return room;
        node_->bytes.resize(end);
        node_->bytes.replace(at, bytes.size(), bytes);
        return {};
    }

    Result<ByteBlob> readAt(ByteCount offset, std::size_t limit) override {
        if (auto fine = files_.begin("readAt", path_); !fine) return failure(fine);
        return node_->bytes.substr(std::min(static_cast<std::size_t>(offset), node_->bytes.size()), limit);
    }

    Result<bool> allocate(ByteCount length) override {
        if (auto fine = files_.begin("allocate", path_); !fine) return failure(fine);
        if (!files_.keepsRoom) return false;
        if (auto room = makeRoom(static_cast<std::size_t>(length)); !room) return failure(room);
        node_->reserved = std::max(node_->reserved, static_cast<std::size_t>(length));
        return true;
    }

    Result<void> synchronize() override {
        if (auto fine = files_.begin("synchronize", path_); !fine) return fine;
        node_->durableBytes = node_->bytes;
        return {};
    }

    [[nodiscard]] ByteCount size() const override { return static_cast<ByteCount>(node_->bytes.size()); }

private:
    Result<void> makeRoom(std::size_t end) {
        const ByteCount more = static_cast<ByteCount>(end) - node_->room();
        return more > 0 ? files_.checkRoom(path_, more) : Result<void>();
    }

    MemoryFileManager& files_;
    Path path_;
    NodePointer node_;
};

Result<std::unique_ptr<WritableFile>> MemoryFileManager::createForWriting(const Path& path) {
    if (auto fine = begin("createForWriting", path); !fine) return failure(fine);
    if (find(path)) return failure(taken(path));
    if (auto made = makeFolders(normal(path).parent_path()); !made) return failure(made);
    auto target = slot(path);
    if (!target) return failure(target);
    if (auto writable = checkWritable(path); !writable) return failure(writable);
    auto file = std::make_shared<Node>(false);
    target->folder->entries[target->name] = file;
    return std::make_unique<Writable>(*this, path, file);
}

Result<std::unique_ptr<WritableFile>> MemoryFileManager::reopenForWriting(const Path& path, ByteCount length) {
    if (auto fine = begin("reopenForWriting", path); !fine) return failure(fine);
    const NodePointer node = find(path);
    if (!node || node->isFolder || static_cast<ByteCount>(node->bytes.size()) < length)
        return failure({ErrorCase::file, "The part of the file that had arrived is gone; the download starts over."});
    if (auto writable = checkWritable(path); !writable) return failure(writable);
    node->bytes.resize(static_cast<std::size_t>(length));
    node->reserved = 0;
    return std::make_unique<Writable>(*this, path, node);
}

}  // namespace tovri::test
