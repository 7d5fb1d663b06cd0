#pragma once

#include <filesystem>
#include <stop_token>
#include <string>
#include <unordered_map>

#include "base/Task.h"
#include "platform/Await.h"
#include "platform/FileManager.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// Tells which lane the work on a folder belongs to: one for each volume. To find out is work that may hang with the
// volume, so it is done away from everything else, and seldom twice for a folder.
class VolumeLanes {
public:
    // The references outlive this.
    VolumeLanes(MainLoop& loop, FileManager& files, VolumeQueues& volumes)
        : loop_(loop), files_(files), volumes_(volumes) {}

    // The folder need not exist yet. ErrorCase::cancelled after a stop request, and nothing else.
    Task<Result<std::string>> laneOf(std::filesystem::path folder, std::stop_token stop);

    // Does the work in the folder's lane, after all work of those who asked for that lane before. Needs nobody who
    // waits for it, so it is done also when the process is about to end.
    void run(const std::filesystem::path& folder, VolumeQueues::Work work) {
        run(files_, volumes_, folder, std::move(work));
    }

    // The same on any thread.
    static void run(FileManager& files, VolumeQueues& volumes, const std::filesystem::path& folder,
                    VolumeQueues::Work work);

private:
    MainLoop& loop_;
    FileManager& files_;
    VolumeQueues& volumes_;
    std::unordered_map<std::string, std::string> lanes_;  // by folder
};

// What those work with who look at files, or sync them, on the threads of their volumes; outlives them.
struct VolumePorts {
    MainLoop& loop;
    VolumeQueues& volumes;
    FileManager& files;
    VolumeLanes& lanes;
};

}  // namespace tovri
