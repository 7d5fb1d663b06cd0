#include "cli/running/StayingOriginals.h"

#include <optional>
#include <unordered_map>
#include <unordered_set>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "cli/display/ShortID.h"
#include "cli/running/RunReporter.h"

namespace tovri::cli {
namespace {

// By folder, the first file that did not come; none of a folder that the queue does not have whole any more.
std::unordered_map<UUID, ConstDownloadPointer> missingFiles(const DownloadList& list) {
    std::unordered_map<UUID, ConstDownloadPointer> missing;
    for (const ConstDownloadPointer& each : list.items())
        if (each->folderGroupID && each->status != Download::Status::completed)
            missing.emplace(*each->folderGroupID, each);
    return missing;
}

std::string reasonFor(const Download* missing, std::size_t queueLength) {
    if (!missing) return "Not all of its files are in the queue any more.";
    const bool isSkipped = missing->status == Download::Status::skipped;
    return fmt::format("\"{}\" was {}. Get it with: tovri-cli retry {}{}", printable(missing->fileName),
                       isSkipped ? "skipped" : "cancelled", shortID(missing->id, queueLength),
                       isSkipped ? " --on-conflict keep-both" : "");
}

}  // namespace

std::vector<std::string> stayingLines(const RunTally& tally, const DownloadList& list) {
    const std::vector<ConstDownloadPointer> staying = tally.staying();
    if (staying.empty()) return {};
    const auto missing = missingFiles(list);
    std::vector<std::string> lines;
    std::unordered_set<UUID> told;
    for (const ConstDownloadPointer& item : staying) {
        const std::optional<UUID>& folder = item->folderGroupID;
        if (!told.insert(folder.value_or(item->id)).second) continue;
        const auto found = folder ? missing.find(*folder) : missing.end();
        const Download* ofFolder = found == missing.end() ? nullptr : found->second.get();
        lines.push_back(fmt::format("Not deleted from put.io: {}{}: {}", folder ? "the folder of " : "",
                                    pathText(*item), reasonFor(folder ? ofFolder : item.get(), list.items().size())));
    }
    return lines;
}

}  // namespace tovri::cli
