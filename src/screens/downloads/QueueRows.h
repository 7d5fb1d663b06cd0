#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

#include "downloads/list/DownloadList.h"
#include "platform/MainLoop.h"
#include "screens/ScreenChange.h"

namespace tovri {

// The groups of the downloads screen, in their order.
enum class DownloadSection : std::uint8_t { active, paused, queued, finished };

inline constexpr std::size_t downloadSectionCount = 4;

[[nodiscard]] DownloadSection downloadSection(DownloadStatus status);

// The queue as rows: each section that has items is a header and its items in queue order. Stays as it was told last
// and catches up with the queue once per turn of the loop, step by step, or by a reset when much has changed. Every
// operation costs at most the logarithm of the queue's length, but for a reset.
class QueueRows {
public:
    using Tell = std::function<void(const ScreenChange&)>;

    // A header when `index` is none.
    struct Place {
        DownloadSection section = DownloadSection::active;
        std::optional<std::size_t> index;
    };

    // `list` and `loop` outlive the rows. What is told must not change the queue before it returns; `tellSettled`
    // follows each catching up.
    QueueRows(const DownloadList& list, MainLoop& loop, Tell tell, std::function<void()> tellSettled);

    [[nodiscard]] std::size_t count() const;

    [[nodiscard]] std::size_t count(DownloadSection section) const { return group(section).entries.size(); }

    [[nodiscard]] Place placeAt(std::size_t row) const;

    // Null for a header; good until what is told next.
    [[nodiscard]] const Download* itemAt(std::size_t row) const;

    // A look at every row.
    [[nodiscard]] std::optional<std::size_t> rowOf(const UUID& id) const;

    using Filter = std::function<bool(const Download&)>;

    // From the next catching up on only the items that it lets through have rows; null lets all through. What it
    // lets through once it always does.
    void setFilter(Filter filter);

    // Takes in a change of the list.
    void follow(const QueueChange& change);

    // The item's row looks different; told by the next tellLooks().
    void markLook(const ConstDownloadPointer& item) { looks_.insert(item); }

    void tellLooks();

    // Tells that all items of the section look different.
    void tellLook(DownloadSection section) const;

private:
    struct Entry {
        std::int64_t position = 0;  // the item's when it was told
        ConstDownloadPointer item;
    };

    struct Group {
        bool hasHeader = false;
        std::deque<Entry> entries;  // sorted by position
    };

    // An item that is not where it was told; with no section it has not been told at all.
    struct Stray {
        ConstDownloadPointer item;
        std::optional<DownloadSection> section;
        std::int64_t position = 0;
    };

    [[nodiscard]] const Group& group(DownloadSection section) const {
        return groups_[static_cast<std::size_t>(section)];
    }

    [[nodiscard]] Group& group(DownloadSection section) { return groups_[static_cast<std::size_t>(section)]; }

    [[nodiscard]] std::size_t firstRow(DownloadSection section) const;  // of its header
    [[nodiscard]] std::size_t rowAt(DownloadSection section, std::size_t index) const;
    [[nodiscard]] std::optional<std::size_t> indexOf(const ConstDownloadPointer& item, DownloadSection section,
                                                     std::int64_t position) const;

    [[nodiscard]] bool isShown(const Download& item) const { return !filter_ || filter_(item); }

    void stray(const ConstDownloadPointer& item, std::optional<DownloadSection> section, std::int64_t position);
    void strayAfterMove(const QueueChange& change);
    void needReset();
    void scheduleCatchUp();
    void catchUp();
    void reset();
    void tellWaiting();
    void settle(const Stray& stray);
    void takeOut(DownloadSection section, std::size_t index);
    void putIn(const ConstDownloadPointer& item);
    void addHeader(DownloadSection section);
    void dropEmptyHeader(DownloadSection section);

    const DownloadList& list_;
    MainLoop& loop_;
    Tell tell_;
    std::function<void()> tellSettled_;
    Filter filter_;
    std::array<Group, downloadSectionCount> groups_;
    std::size_t toldWaiting_ = 0;  // what the header of the queued ones says
    std::vector<Stray> strays_;
    std::unordered_set<const Download*> strayItems_;
    std::unordered_set<ConstDownloadPointer> looks_;
    bool needsReset_ = false;
    bool isCatchingUp_ = false;
    Subscription timer_;
};

}  // namespace tovri
