#include "downloads/restoring/Recovery.h"

#include <map>

#include "downloads/partials/NoteFile.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Status = Download::Status;

namespace {

std::filesystem::path folderOf(const std::vector<PlacementEntry>& entries) {
    return entries.front().target.parent_path();
}

}  // namespace

// What is done on the volume's thread for one item.
class Recovery::ArrivalLook {
public:
    ArrivalLook(FileManager& files, std::shared_ptr<PlacementJournal> journal, Placements placements)
        : files_(files), journal_(std::move(journal)), placements_(std::move(placements)) {}

    PlacedCopy expected;  // of what may have arrived, where the journal does not say it; no size: 0
    bool mustReadBytes = false;
    bool mustBeDurable = false;

    // A loss of power may have left the name without the bytes: then nothing has arrived.
    [[nodiscard]] Result<Finding> perform() const {
        Finding found;
        for (const PlacementEntry& entry : placements_.entries)
            if (journal_->hasArrived(entry)) found = {.arrived = entry.target, .note = entry.arrival};
        for (const Path& leftover : placements_.leftovers)
            if (files_.exists(leftover)) (void)files_.removeItem(leftover);
        if (found.arrived.empty()) return found;
        const auto size = files_.fileSize(found.arrived);
        if (!size) return Finding();
        PlacedCopy copy = expected;
        copy.path = found.arrived;
        if (found.note) copy.size = found.note->size;
        if (found.note) copy.checksum = found.note->checksum;
        if (!found.note && copy.size == 0) copy.size = *size;
        if (!mustReadBytes) copy.checksum.reset();
        if (!copy.isWhole(files_)) return Finding();
        found.size = *size;
        if (!mustBeDurable) return found;
        if (!files_.makeDurable(found.arrived)) return Finding();
        found.isDurable = journal_->makeDurable().has_value();
        return found;
    }

private:
    FileManager& files_;
    std::shared_ptr<PlacementJournal> journal_;
    Placements placements_;
};

Recovery::Recovery(VolumePorts ports, DownloadList& list, Settlement& settlement, DurabilityCommit& durability,
                   std::shared_ptr<PlacementJournal> journal, Observer observer)
    : ports_(ports),
      list_(list),
      settlement_(settlement),
      durability_(durability),
      journal_(std::move(journal)),
      observer_(std::move(observer)) {}

// --- What was being placed ---

void Recovery::lookForArrived(std::vector<PlacementEntry> entries, const std::set<Path>& kept, MachineStart start) {
    std::map<UUID, Placements> byItem;
    for (PlacementEntry& entry : entries) {
        Placements& placements = byItem[entry.item];
        placements.item = entry.item;
        placements.leftovers.push_back(witnessPath(entry.staged));
        const bool isOurs = UUID::parse(entry.staged.filename().native()).has_value();
        if (isOurs && !kept.contains(entry.staged)) placements.leftovers.push_back(entry.staged);
        if (isOurs && !kept.contains(entry.staged)) placements.leftovers.push_back(NoteFile::pathOf(entry.staged));
        placements.entries.push_back(std::move(entry));
    }
    for (const auto& [item, placements] : byItem) {
        held_.insert(item);
        looks_.insert(folderOf(placements.entries));
    }
    for (auto& [item, placements] : byItem) scope_.start(lookForPlacements(std::move(placements), start));
}

Task<> Recovery::lookForPlacements(Placements placements, MachineStart start) {
    const DownloadPointer item = list_.find(placements.item);
    const std::vector<PlacementEntry> entries = placements.entries;
    ArrivalLook look(ports_.files, journal_, std::move(placements));
    if (item) look.expected.size = item->arrivedChecksum ? item->bytesDownloaded : item->expectedSize();
    if (item) look.expected.checksum = PlacedCopy::checksumOf(*item);
    look.mustReadBytes = start == MachineStart::another;  // a kill alone takes none
    look.mustBeDurable = item && (item->deleteAfterDownload || item->folderDeleteID);
    Result<std::string> lane = co_await ports_.lanes.laneOf(folderOf(entries), {});
    if (!lane) co_return;
    Result<Finding> finding = co_await onVolume<Finding>(ports_.loop, ports_.volumes, *lane, {},
                                                         [look = std::move(look)] { return look.perform(); });
    const bool isOpen = item && list_.contains(*item) && !isFinished(item->status) && item->status != Status::deleting;
    if (isOpen && !finding->arrived.empty()) complete(item, *finding);
    for (const PlacementEntry& entry : entries) observer_.isKnown(entry.id);
    held_.erase(entries.front().item);
    if (item) observer_.goesOn(item);
    lookEnded(folderOf(entries));
}

// Its file got its name in the moment before the previous process died.
void Recovery::complete(const DownloadPointer& item, const Finding& finding) {
    item->bytesDownloaded = finding.size;
    if (const auto& note = finding.note) {
        item->arrivedChecksum = note->checksum ? std::optional(note->checksum->text()) : std::nullopt;
        item->listedSize = note->listedSize;
        if (listedChecksum(*item) != note->listedChecksum)
            item->crc32 = note->listedChecksum ? std::optional(note->listedChecksum->text()) : std::nullopt;
    }
    item->formerCopy.reset();
    item->stagedURL.reset();
    if (finding.isDurable) item->durable = true;
    settlement_.markCompleted(item, finding.arrived);
}

// --- What the machine may have lost ---

void Recovery::lookForLost(const std::vector<DownloadPointer>& items) {
    for (const DownloadPointer& item : items) {
        doubtful_.insert(item->id);
        looks_.insert(Path(*item->resolvedURL).parent_path());
    }
    for (const DownloadPointer& item : items) scope_.start(lookForCopy(item));
}

Task<> Recovery::lookForCopy(DownloadPointer item) {
    const PlacedCopy copy = PlacedCopy::of(*item);
    Result<std::string> lane = co_await ports_.lanes.laneOf(copy.path.parent_path(), {});
    if (!lane) co_return;
    auto look = [&files = ports_.files, copy]() -> Result<bool> {
        const bool isWhole = copy.isWhole(files);
        // The name without a byte would only stand in the way of the file that is fetched again.
        if (!isWhole && files.fileSize(copy.path) == 0) (void)files.removeItem(copy.path);
        return isWhole;
    };
    // A long file is not to hold up what is written to the volume meanwhile.
    Result<bool> isWhole = co_await onVolume<bool>(ports_.loop, ports_.volumes, *lane + " look", {}, std::move(look));
    doubtful_.erase(item->id);
    const bool isStillThat = item->status == Status::completed && item->resolvedURL == copy.path.native();
    if (isStillThat && !*isWhole && list_.contains(*item)) {
        observer_.isLost(item);
    } else if (isStillThat) {
        durability_.add(item);
        settlement_.notifySyncSettled(*item);
    }
    lookEnded(copy.path.parent_path());
}

void Recovery::lookEnded(const Path& folder) {
    looks_.erase(looks_.find(folder));
    if (looks_.empty()) observer_.hasEnded();
}

}  // namespace tovri
