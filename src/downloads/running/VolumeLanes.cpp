#include "downloads/running/VolumeLanes.h"

namespace tovri {
namespace {

// That of the nearest folder that exists.
std::string volumeLane(FileManager& files, std::filesystem::path folder) {
    while (true) {
        if (const auto identity = files.identity(folder)) return "volume " + std::to_string(identity->volume);
        if (!folder.has_relative_path() || !folder.has_parent_path()) return "volume";
        folder = folder.parent_path();
    }
}

}  // namespace

Task<Result<std::string>> VolumeLanes::laneOf(std::filesystem::path folder, std::stop_token stop) {
    if (const auto known = lanes_.find(folder.native()); known != lanes_.end()) co_return known->second;
    auto look = [&files = files_, folder]() -> Result<std::string> { return volumeLane(files, folder); };
    Result<std::string> lane =
        co_await onVolume<std::string>(loop_, volumes_, "folder " + folder.native(), std::move(stop), std::move(look));
    if (lane) lanes_[folder.native()] = *lane;
    co_return lane;
}

}  // namespace tovri
