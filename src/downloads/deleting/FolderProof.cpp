#include "downloads/deleting/FolderProof.h"

#include <algorithm>
#include <unordered_map>

#include "downloads/listing/FolderWalk.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {
namespace {

constexpr const char* strangersText = "The folder holds files that were not downloaded.";
constexpr const char* passedOverText =
    "put.io does not list all files that it has in the folder: it may hold some that were not downloaded.";

// Whether put.io's file is the one that has arrived.
bool isStillThat(const PutIOFile& file, const Download& item) {
    const auto before = listedChecksum(item);
    const auto now = file.crc32 ? Checksum::parse(*file.crc32) : std::nullopt;
    return file.size == item.expectedSize() && (!before || !now || *before == *now);
}

}  // namespace

Task<Result<void>> FolderProof::prove(FolderID folderID, std::vector<DownloadPointer> members, std::stop_token stop) {
    FolderWalk walk(service_);
    Result<std::vector<ListedFile>> listed = co_await walk.collectFiles(folderID, {}, stop);
    if (walk.cut())
        co_return failure(Error(ErrorCase::unproven, std::string(strangersText) + " " + walk.cut()->description));
    if (!listed) co_return failure(listed);
    std::unordered_map<FileID, const Download*> byFile;
    for (const DownloadPointer& member : members) byFile.emplace(member->fileID, member.get());
    const bool areKnown = std::ranges::all_of(*listed, [&](const ListedFile& each) {
        const auto member = byFile.find(each.file.id);
        return member != byFile.end() && isStillThat(each.file, *member->second);
    });
    if (!areKnown) co_return failure(Error(ErrorCase::unproven, strangersText));
    for (const ListedFile& each : *listed) byFile.erase(each.file.id);
    for (const auto& [fileID, member] : byFile) {
        Result<bool> isAbsent = co_await service_.isAbsent(fileID, stop);
        if (!isAbsent) co_return failure(isAbsent);
        if (!*isAbsent) co_return failure(Error(ErrorCase::unproven, passedOverText));
    }
    co_return Result<void>();
}

}  // namespace tovri
