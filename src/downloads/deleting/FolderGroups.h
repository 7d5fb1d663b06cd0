#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "downloads/list/DownloadList.h"

namespace tovri {

// Folders that are to be deleted from put.io once every file has arrived: how many files each expects, and which items
// of the list belong to it. Follows the list by itself, so that a group of a hundred thousand is evaluated at once.
class FolderGroups {
public:
    // `list` outlives this.
    explicit FolderGroups(DownloadList& list);

    enum class Verdict {
        wait,      // members are still on their way, or the group is settled already
        complete,  // every expected file has arrived
        givenUp,   // every member is finished, but not every one has arrived
    };
    [[nodiscard]] Verdict verdict(const UUID& group) const;

    // A group without an expected count is never evaluated again.
    void expect(const UUID& group, std::int64_t count) { folderGroupExpectedCounts_[group] = count; }

    void settle(const UUID& group) { folderGroupExpectedCounts_.erase(group); }

    // A member of a group that was given up is wanted again: the group is, too, with the members that the list has.
    void reopen(const UUID& group);

    // Members with the status, in list order.
    [[nodiscard]] std::vector<DownloadPointer> members(const UUID& group, Download::Status status);

    // By the text of the UUID, as the queue file has them; keys that are not UUIDs are dropped.
    [[nodiscard]] std::map<std::string, std::int64_t> expectedCounts() const;
    void restore(const std::map<std::string, std::int64_t>& expectedCounts);

private:
    struct Members {
        std::unordered_set<ConstDownloadPointer> items;
        std::int64_t completed = 0;
        std::int64_t finished = 0;

        void count(Download::Status status, std::int64_t by);
    };

    void follow(const QueueChange& change);
    void add(const ConstDownloadPointer& item);
    void remove(const ConstDownloadPointer& item);
    void readList();

    DownloadList& list_;
    std::unordered_map<UUID, std::int64_t> folderGroupExpectedCounts_;
    std::unordered_map<UUID, Members> members_;
    Subscription subscription_;
};

}  // namespace tovri
