#pragma once

#include <cstddef>
#include <unordered_set>
#include <vector>

#include "downloads/DownloadManager.h"

namespace tovri::cli {

// What has become of the downloads of one run. Follows the engine's changes, so that a long queue is not counted anew
// for every picture of it.
class RunTally {
public:
    // `downloads` outlives this.
    explicit RunTally(const DownloadManager& downloads) : downloads_(downloads) {}

    void follow(const QueueChange& change);

    std::size_t arrived = 0;
    std::size_t skipped = 0;
    std::size_t failed = 0;

    // Still on put.io, although they were to be deleted there: a deletion that succeeds at last counts no more.
    [[nodiscard]] std::size_t undeleted() const { return undeleted_.size() + goneUndeleted_ + staying().size(); }

    // Those of them of whose deletion nothing more will come, and nothing else has said so: skipped, or of a folder
    // that stays for one that was skipped, cancelled or taken off the list. In list order; goes through the list.
    [[nodiscard]] std::vector<ConstDownloadPointer> staying() const;

    // Arrived, but differ from put.io's record.
    [[nodiscard]] std::size_t doubtful() const { return doubtful_.size() + goneDoubtful_; }

    [[nodiscard]] std::size_t finished() const { return arrived + skipped + failed; }

    // Queued, but held.
    [[nodiscard]] std::size_t waiting() const { return downloads_.downloads().heldCount(); }

    // Paused downloads do not count.
    [[nodiscard]] std::size_t unfinished() const;

    [[nodiscard]] ByteCount finishedBytes() const { return finishedBytes_; }

    // The bytes of all running downloads so far, and the sizes of all that are unfinished.
    [[nodiscard]] ByteCount runningBytes() const;

    [[nodiscard]] ByteCount unfinishedBytes() const { return unfinishedBytes_; }

private:
    void recount();
    void followDeletion(const QueueChange& change);

    const DownloadManager& downloads_;
    std::unordered_set<UUID> undeleted_;
    std::unordered_set<UUID> left_;  // finished in this run, and not deleted from put.io, or not yet
    std::unordered_set<UUID> doubtful_;
    std::size_t goneUndeleted_ = 0;  // that have left the list
    std::size_t goneDoubtful_ = 0;
    ByteCount finishedBytes_ = 0;
    ByteCount unfinishedBytes_ = 0;
};

}  // namespace tovri::cli
