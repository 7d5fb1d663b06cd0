#include "downloads/restoring/StagedPath.h"

namespace tovri {

bool isStagedPath(std::string_view path, const std::filesystem::path& stagingFolder) {
    const std::string_view folder = stagingFolder.native();
    if (folder.empty() || !path.starts_with(folder)) return false;
    path.remove_prefix(folder.size());
    if (!path.starts_with('/')) return false;
    path.remove_prefix(1);
    constexpr std::string_view neverInNames("/\0", 2);
    return !path.empty() && path != "." && path != ".." && path.find_first_of(neverInNames) == std::string_view::npos;
}

}  // namespace tovri
