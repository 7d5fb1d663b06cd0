#pragma once

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include "service/records/FileID.h"

namespace tovri {

// A set of put.io file IDs in ascending order. One run of memory: a rule may know a hundred thousand files, and its
// sets are copied with every save.
class FileIDSet {
public:
    FileIDSet() = default;

    FileIDSet(std::initializer_list<FileID> ids) : FileIDSet(std::vector(ids)) {}

    // In any order; an ID that occurs twice counts once.
    explicit FileIDSet(std::vector<FileID> ids) : ids_(std::move(ids)) {
        if (!std::ranges::is_sorted(ids_)) std::ranges::sort(ids_);
        const auto repeated = std::ranges::unique(ids_);
        ids_.erase(repeated.begin(), repeated.end());
    }

    [[nodiscard]] bool contains(FileID id) const { return std::ranges::binary_search(ids_, id); }

    // Whether it was not there yet.
    bool insert(FileID id) {
        const auto place = std::ranges::lower_bound(ids_, id);
        if (place != ids_.end() && *place == id) return false;
        ids_.insert(place, id);
        return true;
    }

    // Whether it was there.
    bool erase(FileID id) {
        const auto place = std::ranges::lower_bound(ids_, id);
        if (place == ids_.end() || *place != id) return false;
        ids_.erase(place);
        return true;
    }

    void clear() { ids_.clear(); }

    [[nodiscard]] std::size_t size() const { return ids_.size(); }

    [[nodiscard]] bool isEmpty() const { return ids_.empty(); }

    [[nodiscard]] auto begin() const { return ids_.begin(); }

    [[nodiscard]] auto end() const { return ids_.end(); }

    bool operator==(const FileIDSet&) const = default;

private:
    std::vector<FileID> ids_;
};

}  // namespace tovri
