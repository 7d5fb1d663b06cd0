#include "downloads/placing/Destination.h"

#include <algorithm>

namespace tovri {
namespace {

constexpr std::string_view refusedComponent = "..";

std::string printable(std::string name) {
    std::ranges::replace(name, '\0', '?');
    return name;
}

}  // namespace

bool isUsableName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos &&
           name.find('\0') == std::string_view::npos;
}

std::filesystem::path subfolder(const std::filesystem::path& folder, std::string_view name) {
    return folder / (isUsableName(name) ? name : refusedComponent);
}

Result<std::filesystem::path> destination(const Download& item) {
    const std::filesystem::path& folder = *item.destinationFolder;
    if (!isUsableName(item.fileName))
        return failure(Error(ErrorCase::file, "The name \"" + printable(item.fileName) +
                                                  "\" cannot be used for a local file. Rename the file on put.io, "
                                                  "then queue it again."));
    if (std::ranges::find(folder, refusedComponent) != folder.end())
        return failure(Error(ErrorCase::file, "A folder above \"" + item.fileName +
                                                  "\" has a name on put.io that cannot be used for a local folder. "
                                                  "Rename that folder on put.io, then queue it again."));
    return folder / item.fileName;
}

std::filesystem::path numberedDestination(const std::filesystem::path& path, int number) {
    const std::string name = path.filename().native();
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot != 0 && dot + 1 != name.size();
    const std::string suffix = " (" + std::to_string(number) + ")";
    return path.parent_path() / (hasExtension ? name.substr(0, dot) + suffix + name.substr(dot) : name + suffix);
}

}  // namespace tovri
