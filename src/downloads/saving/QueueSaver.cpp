#include "downloads/saving/QueueSaver.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace tovri {
namespace {

using namespace std::chrono_literals;

constexpr auto lane = "saves";
constexpr auto patienceWithEarlier = 2s;
constexpr auto patienceWithOwn = 10s;
constexpr auto retryPause = 30s;

}  // namespace

QueueSaver::QueueSaver(Ports ports, std::shared_ptr<DownloadStore> store, std::shared_ptr<PlacementJournal> journal,
                       SaveSchedule& schedule, Queue queue)
    : ports_(ports),
      store_(std::move(store)),
      journal_(std::move(journal)),
      schedule_(schedule),
      queue_(std::move(queue)),
      self_(std::make_shared<QueueSaver*>(this)) {}

void QueueSaver::save() {
    if (running_)
        isWanted_ = true;
    else
        begin();
}

// The snapshot is taken at one instant; encoding, writing and freeing a long queue must not stop the main loop.
void QueueSaver::begin() {
    isWanted_ = false;
    retry_.reset();
    schedule_.noteSave();
    std::ranges::copy(queue_.takeEnded(), std::back_inserter(ended_));
    running_ = std::make_shared<Save>();
    running_->ended = ended_;
    ports_.volumes.run(lane, [&loop = ports_.loop, store = store_, journal = journal_, save = running_,
                              snapshot = queue_.snapshot(), held = std::weak_ptr(self_)]() mutable {
        Result<ByteCount> written = store->save(std::move(snapshot));
        if (written) journal->forget(save->ended);
        save->outcome = std::move(written);
        loop.post([save = std::move(save), held = std::move(held)] {
            const auto self = held.lock();
            if (self && (*self)->running_ == save) (*self)->end();
        });
    });
}

void QueueSaver::end() {
    const std::shared_ptr<Save> save = std::exchange(running_, nullptr);
    const Result<ByteCount>& written = *save->outcome;
    if (written) {
        schedule_.setFileSize(*written);
        ended_.erase(ended_.begin(), ended_.begin() + static_cast<std::ptrdiff_t>(save->ended.size()));
        setFailure(std::nullopt);
    } else {
        retry_ = ports_.loop.schedule(retryPause, [this] { this->save(); });
        setFailure(written.error().description);
    }
    if (isWanted_ && !running_) begin();
}

bool QueueSaver::saveNow() {
    schedule_.cancel();
    isWanted_ = false;
    if (running_ && !finishRunning(patienceWithEarlier)) {
        isWanted_ = true;
        return false;
    }
    begin();
    return finishRunning(patienceWithOwn);
}

bool QueueSaver::finishRunning(std::chrono::milliseconds patience) {
    const bool hasEnded = ports_.volumes.waitFor(lane, patience);
    if (hasEnded && running_->outcome) {
        end();
        return !failure_;
    }
    setFailure("The disk takes too long to write \"" + store_->queueURL().native() +
               "\"; check the disk and try again.");
    return false;
}

void QueueSaver::setFailure(std::optional<std::string> failure) {
    if (failure) {
        ports_.log.line("[DownloadStore] Failed to write queue: " + *failure);
        failure->insert(0, "The queue cannot be saved. ");
    }
    if (failure_ == failure) return;
    failure_ = std::move(failure);
    queue_.failureChanged();
}

}  // namespace tovri
