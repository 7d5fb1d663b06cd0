#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "downloads/list/Download.h"

namespace tovri {

// What changed in the queue. `item` is none for changes of the whole.
struct QueueChange {
    enum class Kind {
        inserted,  // one item, or with no item many: read the list again
        removed,   // likewise; a removed item is told after it left
        moved,
        status,    // told after the item is consistent, with `previous`
        progress,  // bytes, progress or speed of one item
        isPaused,
        conflict,  // another conflict, or none, is shown
    };
    Kind kind;
    DownloadPointer item;
    Download::Status previous = Download::Status::queued;
    std::int64_t previousPosition = 0;  // with `moved`; in a swap the neighbour has it now
};

// The ordered items with an index by status, so that the scheduler's questions cost the same in a queue of ten and of a
// hundred thousand. The only place that changes the order or a status. Index 0 is the top. Does not start, save or
// delete anything.
class DownloadList {
public:
    // Told after the list is consistent, once per call below that changed something.
    Subscription onChange(std::function<void(const QueueChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    [[nodiscard]] std::span<const DownloadPointer> items() const { return items_; }

    [[nodiscard]] bool contains(const Download& item) const { return indexOf(item).has_value(); }

    [[nodiscard]] DownloadPointer find(const UUID& id) const;

    // The first of `items` comes to stand on top.
    void insertOnTop(std::vector<DownloadPointer> items);
    void append(std::vector<DownloadPointer> items);
    void remove(const Download& item);
    void removeFinished();

    // False when the item is not in the list or is at that end already.
    bool moveUp(const Download& item);
    bool moveDown(const Download& item);
    bool moveToTop(const Download& item);

    // Does nothing, and tells nobody, when the item has the status already. An item that is not in the list changes
    // too.
    void setStatus(Download& item, Download::Status status);

    void tellProgress(const Download& item) const;

    void tell(QueueChange::Kind kind) const { changes_.tell({kind, nullptr}); }

    // In list order, at most `limit`.
    [[nodiscard]] std::vector<DownloadPointer> withStatus(Download::Status status, std::size_t limit = SIZE_MAX) const;
    [[nodiscard]] std::vector<DownloadPointer> withStatus(std::initializer_list<Download::Status> statuses) const;
    [[nodiscard]] std::size_t count(Download::Status status) const;
    [[nodiscard]] std::size_t count(std::initializer_list<Download::Status> statuses) const;

private:
    struct HigherUp {
        bool operator()(const DownloadPointer& a, const DownloadPointer& b) const { return a->position < b->position; }
    };

    using Index = std::set<DownloadPointer, HigherUp>;

    [[nodiscard]] std::optional<std::size_t> indexOf(const Download& item) const;

    [[nodiscard]] Index& indexFor(Download::Status status) { return byStatus_[static_cast<std::size_t>(status)]; }

    [[nodiscard]] const Index& indexFor(Download::Status status) const {
        return byStatus_[static_cast<std::size_t>(status)];
    }

    void swapNeighbours(std::size_t upper);

    std::vector<DownloadPointer> items_;  // sorted by position
    std::array<Index, downloadStatusCount> byStatus_;
    Signal<const QueueChange&> changes_;
};

}  // namespace tovri
