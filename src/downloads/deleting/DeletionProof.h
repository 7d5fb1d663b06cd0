#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "base/Task.h"
#include "downloads/list/Download.h"
#include "downloads/placing/BroughtFiles.h"
#include "downloads/placing/PlacementJournal.h"
#include "downloads/running/VolumeLanes.h"

namespace tovri {

// A file that was seen to be whole, and how it stood then.
struct ProvenFile {
    std::filesystem::path path;
    FileStamp stamp;
};

// Shows, before put.io is asked to delete files, that ours are whole and would survive a loss of power. What cannot be
// shown is ErrorCase::unproven, and a sentence that names the file.
class DeletionProof {
public:
    // The references outlive this.
    DeletionProof(MainLoop& loop, FileManager& files, VolumeQueues& volumes, VolumeLanes& lanes,
                  std::shared_ptr<PlacementJournal> journal, std::shared_ptr<BroughtFiles> brought)
        : loop_(loop),
          files_(files),
          volumes_(volumes),
          lanes_(lanes),
          journal_(std::move(journal)),
          brought_(std::move(brought)) {}

    // The listing's size and, where it has one, its checksum are those of what arrived, and the file where it was
    // placed still is what arrived: it is read, unless nobody has touched it since this process wrote it there.
    Task<Result<ProvenFile>> prove(DownloadPointer item);

    // Right before the request: files, the folders above them and the record of their placement are durable, and each
    // file stands as it was proven. From now on they count as the only copies.
    Task<Result<void>> lookAgain(std::vector<ProvenFile> files);

    // put.io has the originals still.
    Task<> takeBack(std::vector<ProvenFile> files);

    // put.io keeps the originals for good.
    Task<> release(std::vector<std::filesystem::path> paths);

private:
    using Step = std::function<Result<void>(const std::vector<ProvenFile>& ofOneVolume)>;

    // Takes the step on each volume that has some of the files, up to the first failure.
    Task<Result<void>> onEachVolume(std::vector<ProvenFile> files, Step step);

    [[nodiscard]] Step securing() const;
    [[nodiscard]] Step looking() const;

    MainLoop& loop_;
    FileManager& files_;
    VolumeQueues& volumes_;
    VolumeLanes& lanes_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with work under way
    std::shared_ptr<BroughtFiles> brought_;      // likewise
};

}  // namespace tovri
