#include "downloads/holding/HeldItems.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace tovri {
namespace {

constexpr std::chrono::seconds pauseBetweenLooks{5};
constexpr std::chrono::seconds patience{5};  // with a volume that does not answer

}  // namespace

HeldItems::HeldItems(MainLoop& loop, DownloadList& list, DestinationCheck& destinations, VolumeLanes& lanes,
                     std::function<void()> released)
    : loop_(loop),
      list_(list),
      destinations_(destinations),
      lanes_(lanes),
      released_(std::move(released)),
      following_(list.onChange([this](const QueueChange& change) { follow(change); })) {}

void HeldItems::follow(const QueueChange& change) {
    if (!change.item || !change.item->hold || timer_.isActive()) return;
    if (!change.item->hold->isForDestination()) return;
    timer_ = loop_.schedule(pauseBetweenLooks, [this] {
        timer_.reset();
        look();
    });
}

void HeldItems::look() {
    bool isAnyLookedAt = false;
    for (const std::string& what : list_.holds()) {
        if (what.empty()) continue;  // of another process
        if (!list_.firstHeldFor(what)->hold->isForDestination()) continue;
        isAnyLookedAt = true;
        if (looking_.insert(what).second)
            scope_.start(lookAt(what));
        else
            again_.insert(what);
    }
    if (!isAnyLookedAt || timer_.isActive()) return;
    timer_ = loop_.schedule(pauseBetweenLooks, [this] {
        timer_.reset();
        look();
    });
}

void HeldItems::bytesAreKnown() {
    const auto needsLess = [](const Download& item) {
        return item.hold->reason == Hold::Reason::room && item.onDisk > 0;
    };
    for (const std::string& what : list_.holds())
        for (const DownloadPointer& item : list_.heldFor(what, needsLess)) list_.release(*item);
    look();
    released_();
    if (!isLooking()) list_.tell(QueueChange::Kind::hold);
}

Task<> HeldItems::lookAt(std::string what) {
    do {
        const ConstDownloadPointer first = list_.firstHeldFor(what);
        if (!first) break;
        const std::filesystem::path folder = first->hold->folder;
        std::stop_source tooLong;
        const Subscription limit = loop_.schedule(patience, [tooLong]() mutable { tooLong.request_stop(); });
        Result<std::string> lane = co_await lanes_.laneOf(folder, tooLong.get_token());
        if (!lane) break;
        Result<DestinationFacts> facts = co_await destinations_.look(folder, std::move(*lane), tooLong.get_token());
        if (facts) release(what, *facts);
    } while (again_.erase(what) > 0);
    again_.erase(what);
    looking_.erase(what);
    if (looking_.empty()) list_.tell(QueueChange::Kind::hold);
}

void HeldItems::release(const std::string& what, const DestinationFacts& facts) {
    ByteCount promised = promisedRoom(what);
    const auto released =
        list_.heldFor(what, [&](const Download& item) { return destinations_.isOver(*item.hold, facts, promised); });
    if (released.empty()) return;
    std::ranges::copy(released, std::back_inserter(promised_[what]));
    for (const DownloadPointer& item : released) list_.release(*item);
    released_();
}

// What was let go before and has not begun yet is to find the room for which it was let go.
ByteCount HeldItems::promisedRoom(const std::string& what) {
    const auto found = promised_.find(what);
    if (found == promised_.end()) return 0;
    std::erase_if(found->second, [this](const DownloadPointer& item) {
        const bool isCandidate = item->status == DownloadStatus::queued && !item->hold && list_.contains(*item);
        return !isCandidate && (item->status != DownloadStatus::downloading || destinations_.hasClaim(*item));
    });
    ByteCount sum = 0;
    for (const DownloadPointer& item : found->second) sum += DestinationCheck::missing(*item);
    if (found->second.empty()) promised_.erase(found);
    return sum;
}

void HeldItems::useFolderAnyway(const ConstDownloadPointer& item) {
    if (item->hold && item->hold->reason == Hold::Reason::volume) scope_.start(acceptFolderOf(item));
}

Task<> HeldItems::acceptFolderOf(ConstDownloadPointer item) {
    const std::filesystem::path folder = *item->destinationFolder;
    Result<std::string> lane = co_await lanes_.laneOf(folder, {});
    if (!lane) co_return;
    Result<DestinationFacts> facts = co_await destinations_.look(folder, std::move(*lane), {});
    if (!facts) co_return;
    destinations_.accept(folder, *facts);
    look();
}

}  // namespace tovri
