#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "base/Signal.h"
#include "downloads/list/ItemOrder.h"
#include "downloads/list/StatusStep.h"

namespace tovri {

// What changed in the queue. `item` is none for changes of the whole.
struct QueueChange {
    enum class Kind {
        inserted,  // one item, or with no item many: read the list again
        removed,   // likewise; a removed item is told after it left
        moved,
        status,    // told after the item is consistent, with `previous`
        begun,     // nothing keeps a downloading item's bytes from being asked for
        progress,  // bytes, progress or speed of one item
        hold,      // why an item waits, or, with no item, what the held ones wait for was looked at
        isPaused,
        isHeld,    // whether the whole queue is, or why
        conflict,  // another conflict, or none, is shown
        saving,    // whether the queue can be saved, or why not
        takenOut,  // what the user can take back
    };
    Kind kind;
    ConstDownloadPointer item;
    Download::Status previous = Download::Status::queued;
    std::int64_t previousPosition = 0;  // with `moved`; in a swap the neighbour has it now
};

// The ordered items, indexed by ID, by status, by what they wait for and by the rule and file that they are there for:
// what is asked or changed of one item costs about the same in a queue of ten and of a hundred thousand. The only place
// that changes the order or a status. Does not start, save or delete anything. Whoever has it as a constant gets items
// that are constants.
class DownloadList {
public:
    // Told after the list is consistent, once per call below that changed something.
    Subscription onChange(std::function<void(const QueueChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // From the top downwards.
    [[nodiscard]] const ItemOrder& items() const { return items_; }

    [[nodiscard]] bool contains(const Download& item) const { return placeOf(item) != items_.end(); }

    // The item to be changed, or null where it is not in the list.
    [[nodiscard]] DownloadPointer changeable(const Download& item);

    [[nodiscard]] ConstDownloadPointer find(const UUID& id) const;
    [[nodiscard]] DownloadPointer find(const UUID& id);
    [[nodiscard]] ConstDownloadPointer findAt(std::int64_t position) const;

    // What the rule has put into the queue of a put.io file.
    [[nodiscard]] std::vector<ConstDownloadPointer> ofRule(const UUID& rule, FileID fileID) const;

    // The first of `items` comes to stand on top.
    void insertOnTop(std::vector<DownloadPointer> items);
    void append(std::vector<DownloadPointer> items);

    // A removed item returns to the place that it had.
    void putBack(const DownloadPointer& item);

    // What was removed, or null where the item is not in the list.
    DownloadPointer remove(const Download& item);
    void removeFinished();

    // False when the item is not in the list or is at that end already.
    bool moveUp(const Download& item);
    bool moveDown(const Download& item);
    bool moveToTop(const Download& item);

    // The only way in which a status changes. A step that the table does not have is a fault of the program: it is
    // refused and told to the observer of such faults. Does nothing, and tells nobody, when the item has the status
    // already. An item that is not in the list changes too.
    void take(Download& item, StatusStep step);

    // Given a sentence about the fault; without an observer it is only refused.
    void onForbiddenStep(std::function<void(const std::string&)> tell) { forbidden_ = std::move(tell); }

    // Makes an item one that is queued and held for this reason: a queued one, or one from which StatusStep::hold
    // leads.
    void hold(Download& item, HoldPointer why);

    // Says what a downloading item waits for, or, with null, that it does so no more.
    void wait(Download& item, HoldPointer why);

    // Makes a held item a candidate again.
    void release(Download& item);

    // The uppermost that is queued and not held, or null.
    [[nodiscard]] ConstDownloadPointer nextCandidate() const;

    // The uppermost of them, at most `limit`.
    [[nodiscard]] std::vector<DownloadPointer> candidates(std::size_t limit);

    // What items are held for.
    [[nodiscard]] std::vector<std::string> holds() const;

    // Those that are held for it and fulfil the condition, which is asked in list order.
    [[nodiscard]] std::vector<DownloadPointer> heldFor(const std::string& what,
                                                       const std::function<bool(const Download&)>& condition);
    [[nodiscard]] ConstDownloadPointer firstHeldFor(const std::string& what) const;
    [[nodiscard]] std::size_t heldCount() const;
    [[nodiscard]] std::size_t heldCount(const std::string& what) const;

    void tellBegun(const Download& item) const { tellOf(item, QueueChange::Kind::begun); }

    void tellProgress(const Download& item) const { tellOf(item, QueueChange::Kind::progress); }

    void tell(QueueChange::Kind kind) const { changes_.tell({kind, nullptr}); }

    // In list order, at most `limit`.
    [[nodiscard]] std::vector<ConstDownloadPointer> withStatus(Download::Status status,
                                                               std::size_t limit = SIZE_MAX) const;
    [[nodiscard]] std::vector<DownloadPointer> withStatus(Download::Status status, std::size_t limit = SIZE_MAX);
    [[nodiscard]] std::vector<ConstDownloadPointer> withStatus(std::initializer_list<Download::Status> statuses) const;
    [[nodiscard]] std::vector<DownloadPointer> withStatus(std::initializer_list<Download::Status> statuses);
    [[nodiscard]] std::size_t count(Download::Status status) const;
    [[nodiscard]] std::size_t count(std::initializer_list<Download::Status> statuses) const;

private:
    // The indices name items that items_ owns.
    struct HigherUp {
        bool operator()(const auto& a, const auto& b) const { return a->position < b->position; }
    };

    using Index = std::set<Download*, HigherUp>;

    struct RuleFile {
        UUID rule;
        FileID fileID;
        auto operator<=>(const RuleFile&) const = default;
    };

    [[nodiscard]] ItemOrder::Iterator placeOf(const Download& item) const;
    [[nodiscard]] std::vector<ConstDownloadPointer> pointersTo(auto&& range) const;
    [[nodiscard]] std::vector<DownloadPointer> pointersTo(auto&& range);

    // Where the item stands by its status and by what it waits for.
    [[nodiscard]] Index& indexFor(const Download& item) {
        return isHeld(item) ? held_[item.hold->what] : byStatus_[static_cast<std::size_t>(item.status)];
    }

    [[nodiscard]] const Index& indexFor(Download::Status status) const {
        return byStatus_[static_cast<std::size_t>(status)];
    }

    [[nodiscard]] static bool isHeld(const Download& item) {
        return item.hold && item.status == Download::Status::queued;
    }

    [[nodiscard]] std::vector<Download*> queued() const;
    [[nodiscard]] static auto withStatusIn(auto& list, Download::Status status, std::size_t limit);
    [[nodiscard]] static auto withStatusIn(auto& list, std::initializer_list<Download::Status> statuses);
    void setHold(Download& item, HoldPointer why);
    void leaveIndex(Download& item);
    void tellOf(const Download& item, QueueChange::Kind kind) const;
    void addToIndices(Download* item);
    DownloadPointer takeOut(ItemOrder::Iterator place);
    void swap(ItemOrder::Iterator a, ItemOrder::Iterator b);

    ItemOrder items_;
    std::array<Index, downloadStatusCount> byStatus_;  // without the held ones
    std::map<std::string, Index> held_;                // by what they wait for; none is empty
    std::unordered_multimap<UUID, Download*> byID_;
    std::multimap<RuleFile, Download*> byRuleFile_;  // those that a rule has queued
    Signal<const QueueChange&> changes_;
    std::function<void(const std::string&)> forbidden_;
};

}  // namespace tovri
