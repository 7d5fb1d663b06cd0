#pragma once

#include "base/Task.h"
#include "downloads/list/Download.h"
#include "downloads/placing/PlacementJournal.h"
#include "downloads/running/VolumeLanes.h"

namespace tovri {

// Shows, right before put.io is asked to delete a file, that ours is whole and would survive a loss of power. What
// cannot be shown is a failure whose sentence names the file.
class DeletionProof {
public:
    // The references outlive this.
    DeletionProof(MainLoop& loop, FileManager& files, VolumeQueues& volumes, VolumeLanes& lanes,
                  std::shared_ptr<PlacementJournal> journal)
        : loop_(loop), files_(files), volumes_(volumes), lanes_(lanes), journal_(std::move(journal)) {}

    // The listing's size and, where it has one, its checksum are those of what arrived; the file still stands where it
    // was placed, with that size; file, name and journal are durable.
    Task<Result<void>> prove(DownloadPointer item);

private:
    MainLoop& loop_;
    FileManager& files_;
    VolumeQueues& volumes_;
    VolumeLanes& lanes_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with work under way
};

}  // namespace tovri
