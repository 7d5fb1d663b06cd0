#include "cli/running/StayingOriginals.h"

#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "cli/display/ShortID.h"
#include "cli/running/RunReporter.h"

namespace tovri::cli {
namespace {

// The file that did not come, of the item's folder or the item itself; none where the queue has it no more.
ConstDownloadPointer missingFile(const Download& item, const DownloadList& list) {
    const auto missing = std::ranges::find_if(list.items(), [&](const ConstDownloadPointer& each) {
        const bool isMeant = item.folderGroupID ? each->folderGroupID == item.folderGroupID : each->id == item.id;
        return isMeant && each->status != Download::Status::completed;
    });
    return missing == list.items().end() ? nullptr : *missing;
}

std::string reasonFor(const Download& item, const DownloadList& list) {
    const ConstDownloadPointer missing = missingFile(item, list);
    if (!missing) return "Not all of its files are in the queue any more.";
    const bool isSkipped = missing->status == Download::Status::skipped;
    return fmt::format("\"{}\" was {}. Get it with: tovri-cli retry {}{}", printable(missing->fileName),
                       isSkipped ? "skipped" : "cancelled", shortID(missing->id, list.items().size()),
                       isSkipped ? " --on-conflict keep-both" : "");
}

}  // namespace

std::vector<std::string> stayingLines(const RunTally& tally, const DownloadList& list) {
    std::vector<std::string> lines;
    std::unordered_set<UUID> told;
    for (const ConstDownloadPointer& item : tally.staying())
        if (told.insert(item->folderGroupID.value_or(item->id)).second)
            lines.push_back(fmt::format("Not deleted from put.io: {}{}: {}",
                                        item->folderGroupID ? "the folder of " : "", pathText(*item),
                                        reasonFor(*item, list)));
    return lines;
}

}  // namespace tovri::cli
