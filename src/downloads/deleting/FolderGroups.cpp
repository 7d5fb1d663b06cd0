#include "downloads/deleting/FolderGroups.h"

#include <algorithm>

namespace tovri {

FolderGroups::FolderGroups(DownloadList& list)
    : list_(list), subscription_(list.onChange([this](const QueueChange& change) { follow(change); })) {}

void FolderGroups::Members::count(Download::Status status, std::int64_t by) {
    if (status == Download::Status::completed) completed += by;
    if (isFinished(status)) finished += by;
}

void FolderGroups::follow(const QueueChange& change) {
    using Kind = QueueChange::Kind;
    if (!change.item) {
        if (change.kind == Kind::inserted || change.kind == Kind::removed) readList();
        return;
    }
    if (!change.item->folderGroupID) return;
    if (change.kind == Kind::inserted) add(change.item);
    if (change.kind == Kind::removed) remove(change.item);
    if (change.kind == Kind::status) {
        Members& members = members_[*change.item->folderGroupID];
        members.count(change.previous, -1);
        members.count(change.item->status, +1);
    }
}

void FolderGroups::add(const ConstDownloadPointer& item) {
    Members& members = members_[*item->folderGroupID];
    if (members.items.insert(item).second) members.count(item->status, +1);
}

void FolderGroups::remove(const ConstDownloadPointer& item) {
    const auto members = members_.find(*item->folderGroupID);
    if (members == members_.end() || members->second.items.erase(item) == 0) return;
    members->second.count(item->status, -1);
    if (members->second.items.empty()) members_.erase(members);
}

void FolderGroups::readList() {
    members_.clear();
    for (const ConstDownloadPointer& item : list_.items())
        if (item->folderGroupID) add(item);
}

FolderGroups::Verdict FolderGroups::verdict(const UUID& group) const {
    const auto entry = folderGroupExpectedCounts_.find(group);
    const auto found = members_.find(group);
    if (entry == folderGroupExpectedCounts_.end() || found == members_.end()) return Verdict::wait;
    const std::int64_t expected = entry->second;
    const Members& members = found->second;
    if (expected >= 1 && members.completed == expected) return Verdict::complete;
    const auto size = static_cast<std::int64_t>(members.items.size());
    return size == expected && members.finished == size ? Verdict::givenUp : Verdict::wait;
}

// Not where the folder's deletion has been tried, or is: then that decides.
void FolderGroups::reopen(const UUID& group) {
    const auto found = members_.find(group);
    if (found == members_.end() || folderGroupExpectedCounts_.contains(group)) return;
    const Members& members = found->second;
    const bool isGivenUp = std::ranges::none_of(members.items, [](const ConstDownloadPointer& item) {
        return item->status == Download::Status::deleting || item->status == Download::Status::remoteDeleteFailed;
    });
    const auto size = static_cast<std::int64_t>(members.items.size());
    if (isGivenUp && members.completed < size) expect(group, size);
}

std::vector<DownloadPointer> FolderGroups::members(const UUID& group, Download::Status status) {
    const auto found = members_.find(group);
    if (found == members_.end()) return {};
    std::vector<DownloadPointer> matching;
    for (const ConstDownloadPointer& item : found->second.items)
        if (item->status == status) matching.push_back(list_.changeable(*item));
    std::ranges::sort(matching, {}, [](const DownloadPointer& item) { return item->position; });
    return matching;
}

std::map<std::string, std::int64_t> FolderGroups::expectedCounts() const {
    std::map<std::string, std::int64_t> counts;
    for (const auto& [group, count] : folderGroupExpectedCounts_) counts.emplace(group.text(), count);
    return counts;
}

void FolderGroups::restore(const std::map<std::string, std::int64_t>& expectedCounts) {
    folderGroupExpectedCounts_.clear();
    for (const auto& [text, count] : expectedCounts)
        if (const auto group = UUID::parse(text)) folderGroupExpectedCounts_.emplace(*group, count);
}

}  // namespace tovri
