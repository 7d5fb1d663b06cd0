#include "downloads/partials/Leftovers.h"

#include <algorithm>
#include <chrono>
#include <variant>

#include "downloads/partials/NoteFile.h"
#include "downloads/running/ArrivalProof.h"
#include "platform/Await.h"

namespace tovri {

using Path = std::filesystem::path;
using Status = DownloadStatus;

namespace {

bool mayAsk(Status status) {
    return status == Status::queued || status == Status::downloading || status == Status::paused ||
           status == Status::failed;
}

// Whether bytes of that file are bytes of the item's, as far as can be told before the server is asked.
bool isOf(const NotedFile& noted, const DownloadRecord& item) {
    if (noted.fileID != item.fileID || (item.expectedSize() > 0 && item.expectedSize() != noted.length)) return false;
    const auto listed = listedChecksum(item);
    return listed && noted.checksum ? *listed == *noted.checksum : !noted.validator.empty();
}

// What can be gone on from after the previous process; none where nothing can.
std::optional<PartialNote> findNote(FileManager& files, const Path& partial, const std::string& bootID) {
    const auto dated = NoteFile::read(files, partial);
    auto note = dated ? dated->counting(bootID) : std::nullopt;
    if (!note || note->isOnTrial) return std::nullopt;
    const ByteCount size = files.fileSize(partial).value_or(0);
    std::erase_if(note->parts, [size](const NotedPart& part) { return part.written.end > size; });
    return note->parts.empty() ? std::nullopt : std::move(note);
}

// Room that was kept for bytes which may never come.
void giveRoomBack(FileManager& files, const Path& partial, const PartialNote& note) {
    (void)files.reopenForWriting(partial, note.end());
}

// Removes what is not to be kept and has no note that counts; the notes that do.
std::vector<Leftovers::Found> lookThrough(FileManager& files, const Path& folder, const Leftovers::Names& kept,
                                          const std::string& bootID) {
    std::vector<Leftovers::Found> found;
    const auto entries = files.directoryContents(folder);
    if (!entries) return found;
    for (const Path& entry : *entries) {
        const std::string name = entry.filename();
        const std::string partial = name.substr(0, UUID::textLength);
        const bool isPartial = name == partial;
        const bool isKept = kept.contains(name);
        if (!UUID::parse(partial) || (isKept && !isPartial)) continue;
        const bool isNote = entry == NoteFile::pathOf(folder / partial);
        if (isNote && files.exists(folder / partial)) continue;
        auto note = isPartial ? findNote(files, entry, bootID) : std::nullopt;
        if (note) {
            if (!isKept) giveRoomBack(files, entry, *note);
            found.push_back({std::move(*note), isKept});
        } else if (isPartial && !isKept) {
            NoteFile::removeWithNote(files, entry);
        } else if (!isPartial) {
            (void)files.removeItem(entry);  // also "UUID.moving"
        }
    }
    return found;
}

}  // namespace

// --- At the start ---

void Leftovers::look(Names kept, std::string bootID) {
    constexpr std::chrono::seconds patience{5};
    for (const Path& folder : ports_.receiving.folders()) unknown_.insert(folder);
    patience_ = ports_.loop.schedule(patience, [this] {
        patience_.reset();
        if (!unknown_.empty()) known_.tell();
    });
    ports_.receiving.visit([&loop = ports_.loop, &files = ports_.files,
                            kept = std::make_shared<const Names>(std::move(kept)), bootID = std::move(bootID),
                            self = std::weak_ptr(self_)](const Path& folder, const std::optional<Path>& place) {
        auto found = place ? lookThrough(files, *place, *kept, bootID) : std::vector<Found>();
        loop.post([self, folder, found = std::move(found)]() mutable {
            if (const auto leftovers = self.lock()) (*leftovers)->looked(folder, std::move(found));
        });
    });
}

void Leftovers::looked(const Path& folder, std::vector<Found> found) {
    for (Found& each : found) {
        if (each.isKept)
            tellItems(each.note.file, each.note.end());
        else
            add({.folder = ports_.receiving.tokenOf(folder), .note = std::move(each.note)});
    }
    scope_.start(ports_.receiving.forgetIfGone(folder));
    unknown_.erase(folder);
    if (unknown_.empty()) patience_.reset();
    known_.tell();
}

Task<Result<void>> Leftovers::known(Path folder, std::stop_token stop) {
    const Path name = ports_.receiving.tokenOf(folder).value_or(folder);  // it may be elsewhere now
    while (unknown_.contains(name)) {
        using Told = std::monostate;
        Result<Told> told = co_await Answer<Told>(ports_.loop, stop, [this](auto done) {
            auto tell = std::make_shared<decltype(done)>(std::move(done));
            return known_.subscribe([tell] { (*tell)(Told()); });
        });
        if (!told) co_return failure(told);
    }
    co_return Result<void>();
}

// --- From then on ---

void Leftovers::put(Leftover leftover, Download& item) {
    if (!ports_.list.contains(item) || !mayAsk(item.status) || !isOf(leftover.note.file, item)) {
        add(std::move(leftover));
        return;
    }
    item.onDisk = leftover.note.end();
    const FileID fileID = item.fileID;
    byFile_.emplace(fileID, std::move(leftover));
}

void Leftovers::add(Leftover leftover) {
    const FileID fileID = leftover.note.file.fileID;
    tellItems(leftover.note.file, leftover.note.end());
    byFile_.emplace(fileID, std::move(leftover));
    dropUnwanted(fileID);
}

std::optional<Leftover> Leftovers::take(const Download& item) {
    const auto [first, end] = byFile_.equal_range(item.fileID);
    auto longest = end;
    for (auto entry = first; entry != end; ++entry) {
        const PartialNote& note = entry->second.note;
        const ByteCount length = note.length();
        // Of a whole file nothing would be asked of the server: then only the checksum can tell that it is the same.
        if (note.beginning().end < 1 || !isOf(note.file, item)) continue;
        if (length == note.file.length && !(note.file.checksum && listedChecksum(item))) continue;
        if (longest == end || length > longest->second.note.length()) longest = entry;
    }
    if (longest == end) return std::nullopt;
    Leftover taken = std::move(longest->second);
    byFile_.erase(longest);
    tellItems(taken.note.file, 0);
    return taken;
}

// Those whose file it is need no room for what is there.
void Leftovers::tellItems(const NotedFile& file, ByteCount onDisk) {
    for (const ConstDownloadPointer& item : ports_.list.items())
        if (isOf(file, *item)) ports_.list.changeable(*item)->onDisk = onDisk;
}

void Leftovers::dropUnwanted(FileID fileID) {
    auto [entry, end] = byFile_.equal_range(fileID);
    while (entry != end) {
        if (isWanted(entry->second.note.file)) {
            ++entry;
        } else {
            remove(entry->second);
            entry = byFile_.erase(entry);
        }
    }
}

bool Leftovers::isWanted(const NotedFile& file) const {
    if (spared_.contains(file.fileID)) return true;
    return std::ranges::any_of(ports_.list.items(), [&](const ConstDownloadPointer& item) {
        return item->fileID == file.fileID && mayAsk(item->status) && isOf(file, *item);
    });
}

void Leftovers::remove(const Leftover& leftover) {
    tellItems(leftover.note.file, 0);
    ports_.receiving.remove(leftover.folder, leftover.note.partial);
}

}  // namespace tovri
