#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <vector>

#include "downloads/list/DownloadList.h"
#include "platform/MainLoop.h"
#include "screens/ScreenChange.h"
#include "screens/downloads/SectionRows.h"

namespace tovri {

// The groups of the downloads screen, in their order.
enum class DownloadSection : std::uint8_t { active, paused, queued, finished };

inline constexpr std::size_t downloadSectionCount = 4;

[[nodiscard]] DownloadSection downloadSection(DownloadStatus status);

// The queue as rows: each section that has items is a header and its items in queue order, the finished ones in an
// order of their own where one is wanted; or batches, each where its first item would stand. Stays as it was told last
// and catches up with the queue once per turn of the loop, step by step, or by a reset when much has changed. Every
// operation costs at most the logarithm of the queue's length, but for a reset and what opens and closes.
class QueueRows {
public:
    using Tell = std::function<void(const ScreenChange&)>;

    // A header when `index` is none; otherwise that counts the rows below it.
    struct Place {
        DownloadSection section = DownloadSection::active;
        std::optional<std::size_t> index;
    };

    // `list` and `loop` outlive the rows. What is told must not change the queue before it returns; `tellSettled`
    // follows each catching up.
    QueueRows(const DownloadList& list, MainLoop& loop, Tell tell, std::function<void()> tellSettled);

    [[nodiscard]] std::size_t count() const;

    // Of items, also of those that have no row.
    [[nodiscard]] std::size_t count(DownloadSection section) const { return group(section).rows.itemCount(); }

    [[nodiscard]] Place placeAt(std::size_t row) const;

    // Nothing for a header; good until what is told next, as are those below.
    [[nodiscard]] SectionRows::Row at(std::size_t row) const;

    // Null for a header and for a batch.
    [[nodiscard]] const Download* itemAt(std::size_t row) const { return at(row).item; }

    // The batch whose own row it is, or null.
    [[nodiscard]] const Batch* batchAt(std::size_t row) const;

    // Of an item, or of the closed batch that holds it. A look at every row where it is not where it was told.
    [[nodiscard]] std::optional<std::size_t> rowOf(const UUID& id) const;

    // The row of the batch that the row's item is in.
    [[nodiscard]] std::optional<std::size_t> batchRowOf(std::size_t row) const;

    // Opens or closes the batch whose own row it is.
    void setOpen(std::size_t row, bool isOpen);

    using Filter = std::function<bool(const Download&)>;

    // From the next catching up on only the items that it lets through have rows; null lets all through. What it
    // lets through once it always does.
    void setFilter(Filter filter);

    // Likewise. The other sections are in batches when the finished items are, and in the order of the queue.
    void arrange(SectionRows::Arrangement finished);

    // Takes in a change of the list.
    void follow(const QueueChange& change);

    // The item's row looks different; told by the next tellLooks().
    void markLook(const ConstDownloadPointer& item) { looks_.insert(item); }

    void tellLooks();

    // Tells that all items of the section look different.
    void tellLook(DownloadSection section) const;

private:
    struct Group {
        bool hasHeader = false;
        SectionRows rows;

        [[nodiscard]] std::size_t rowCount() const { return rows.rowCount() + (hasHeader ? 1 : 0); }
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
    [[nodiscard]] std::optional<std::size_t> toldRowOf(const ConstDownloadPointer& item) const;
    [[nodiscard]] std::optional<RowPlace> toldPlace(const Stray& stray) const;

    [[nodiscard]] bool isShown(const Download& item) const { return !filter_ || filter_(item); }

    void stray(const ConstDownloadPointer& item, std::optional<DownloadSection> section, std::int64_t position);
    void strayAfterMove(const QueueChange& change);
    void needReset();
    void scheduleCatchUp();
    void catchUp();
    void reset();
    void tellWaiting();
    void settle(const Stray& stray);
    void moveRow(const Stray& stray, const std::optional<RowPlace>& from, const std::optional<RowPlace>& to);
    void tell(DownloadSection section, std::optional<ScreenChange> change) const;
    void tellBatch(DownloadSection section, const Download& item) const;
    void addHeader(DownloadSection section);
    void dropEmptyHeader(DownloadSection section);

    const DownloadList& list_;
    MainLoop& loop_;
    Tell tell_;
    std::function<void()> tellSettled_;
    Filter filter_;
    SectionRows::Arrangement finished_;
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
