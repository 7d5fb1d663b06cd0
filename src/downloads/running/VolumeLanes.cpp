#include "downloads/running/VolumeLanes.h"

namespace tovri {
namespace {

// A process that runs for months meets ever new ones.
constexpr std::size_t mostFolders = 1024;

std::string volumeLane(FileManager& files, const std::filesystem::path& folder) {
    const Result<Volume> volume = files.volume(folder);
    return volume ? "volume " + std::to_string(volume->number) : "volume";
}

// The lane in which that is found out.
std::string folderLane(const std::filesystem::path& folder) {
    return "folder " + folder.native();
}

}  // namespace

Task<Result<std::string>> VolumeLanes::laneOf(std::filesystem::path folder, std::stop_token stop) {
    if (const auto known = lanes_.find(folder.native()); known != lanes_.end()) co_return known->second;
    auto look = [&files = files_, folder]() -> Result<std::string> { return volumeLane(files, folder); };
    Result<std::string> lane =
        co_await onVolume<std::string>(loop_, volumes_, folderLane(folder), std::move(stop), std::move(look));
    if (lanes_.size() >= mostFolders) lanes_.clear();
    if (lane) lanes_[folder.native()] = *lane;
    co_return lane;
}

void VolumeLanes::run(FileManager& files, VolumeQueues& volumes, const std::filesystem::path& folder,
                      VolumeQueues::Work work) {
    volumes.run(folderLane(folder), [&files, &volumes, folder, work = std::move(work)]() mutable {
        volumes.run(volumeLane(files, folder), std::move(work));
    });
}

}  // namespace tovri
