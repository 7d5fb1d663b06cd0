#include "downloads/running/receiving/ReceivingFolders.h"

#include <algorithm>
#include <memory>
#include <ranges>
#include <string_view>

#include "base/FileURL.h"
#include "downloads/holding/DestinationFacts.h"
#include "downloads/partials/NoteFile.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

constexpr char separator = '\t';  // never in a file URL

std::string oneLine(std::string text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    std::ranges::replace_if(text, isControl, '?');
    return text;
}

// The lane in which it is found out where the folder is now.
std::string searchLane(const Path& folder) {
    return "search " + folder.native();
}

void removeEmptyFolder(FileManager& files, const Path& folder) {
    const auto entries = files.directoryContents(folder);
    if (entries && entries->empty()) (void)files.removeItem(folder);
}

// Whether something at the path would be on this volume, in a folder that is there.
bool standsOn(FileManager& files, const Path& folder, const Volume& volume) {
    const Result<Volume> found = files.volume(folder);
    return found && found->number == volume.number &&
           (found->folder == folder || found->folder == folder.parent_path());
}

}  // namespace

bool ReceivingFolders::holds(const std::vector<Listed>& list, const Listed& entry) {
    return std::ranges::find(list, entry) != list.end();
}

ReceivingFolders::ReceivingFolders(Ports ports, const Path& applicationData)
    : ports_(ports),
      own_(applicationData / "Partial"),
      identifierFile_(applicationData / "data-folder.id"),
      listFile_(applicationData / "receiving-folders") {}

// --- The list ---

// Lines of the folder's file URL, the volume's identity and the file URL of its mount point.
void ReceivingFolders::load() {
    if (const auto volume = ports_.files.volume(own_)) ownVolume_ = volume->number;
    loadIdentifier();
    const auto text = ports_.files.readFile(listFile_);
    if (!text || !identifier_) return;
    for (const auto line : std::views::split(std::string_view(*text), '\n')) {
        std::vector<std::string_view> fields;
        for (const auto field : std::views::split(line, separator)) fields.emplace_back(field.begin(), field.end());
        if (fields.size() != 2 && fields.size() != 3) continue;
        auto folder = parseFileURL(fields[0]);
        auto mountPoint = fields.size() == 3 ? parseFileURL(fields[2]) : Path();
        if (!folder || !mountPoint || !folder->filename().native().starts_with(".tovri-")) continue;
        listed_.push_back({std::string(fields[1]), std::move(*folder), std::move(*mountPoint)});
    }
    listedOnDisk_ = listed_;
}

// A line with the identifier, and one with the mark of the folder for which it was made. A copy of that folder has
// another mark: it takes an identifier of its own, and leaves alone what the list says, which is the first one's.
void ReceivingFolders::loadIdentifier() {
    const auto text = ports_.files.readFile(identifierFile_);
    if (!text) return;
    const std::size_t end = text->find('\n');
    const std::string mark = end == std::string::npos ? "" : text->substr(end + 1, text->find('\n', end + 1) - end - 1);
    const auto own = ownMark();
    if (!mark.empty() && own && mark != *own) return;
    identifier_ = UUID::parse(std::string_view(*text).substr(0, UUID::textLength));
    isIdentifierWritten_ = identifier_.has_value();
    if (identifier_ && mark.empty() && own) (void)ports_.files.writeFileAtomically(identifierFile_, identifierText());
}

std::string ReceivingFolders::identifierText() const {
    const auto mark = ownMark();
    return identifier_->text() + '\n' + (mark ? *mark + '\n' : "");
}

// None where the numbers of files do not last.
std::optional<std::string> ReceivingFolders::ownMark() const {
    const Path data = own_.parent_path();
    const auto volume = ports_.files.volume(data);
    const auto identity = ports_.files.identity(data);
    if (!volume || !volume->keepsNumbers || !identity) return std::nullopt;
    return oneLine(volume->identity) + separator + std::to_string(identity->number);
}

Task<Result<void>> ReceivingFolders::write(std::stop_token stop) {
    Result<std::string> lane = co_await ports_.lanes.laneOf(own_, stop);
    if (!lane) co_return failure(lane);
    std::vector<Listed> listed = listed_;
    std::erase_if(listedOnDisk_, [&](const Listed& entry) { return !holds(listed, entry); });
    const int number = ++writes_;
    std::string text;
    for (const Listed& entry : listed) {
        text += fileURLText(entry.folder, FileURLKind::folder) + separator + entry.volume;
        if (!entry.mountPoint.empty()) text += separator + fileURLText(entry.mountPoint, FileURLKind::folder);
        text += '\n';
    }
    std::optional<std::string> identifier;
    if (identifier_ && !isIdentifierWritten_) identifier = identifierText();
    auto work = [&files = ports_.files, list = listFile_, text, file = identifierFile_, identifier]() -> Result<bool> {
        if (text.empty()) {
            (void)files.removeItem(list);
        } else if (Result<void> written = files.writeFileAtomically(list, text); !written) {
            return failure(written);
        }
        // After the list: where that is another folder's, the new identifier must not come to stand for it.
        if (identifier)
            if (Result<void> written = files.writeFileAtomically(file, *identifier); !written) return failure(written);
        return true;
    };
    Result<bool> written =
        co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(*lane), std::move(stop), std::move(work));
    if (!written) co_return failure(written);
    if (identifier) isIdentifierWritten_ = true;
    if (number == writes_) listedOnDisk_ = std::move(listed);
    co_return Result<void>();
}

std::string ReceivingFolders::folderName() {
    if (!identifier_) identifier_ = ports_.random.makeUUID();
    return ".tovri-" + identifier_->text();
}

std::vector<Path> ReceivingFolders::folders() const {
    std::vector<Path> folders{own_};
    for (const Listed& entry : listed_) folders.push_back(entry.folder);
    return folders;
}

std::optional<Path> ReceivingFolders::tokenOf(const Path& folder) const {
    if (folder == own_) return std::nullopt;
    const auto moved = movedTo_.find(folder);
    return moved == movedTo_.end() ? folder : moved->second;
}

// --- Which folder ---

Result<ReceivingFolders::Found> ReceivingFolders::look(FileManager& files, const Path& destination,
                                                       std::optional<std::uint64_t> own,
                                                       const std::vector<Listed>& listed, const std::string& name) {
    Result<DestinationFacts> facts = lookAtDestination(files, destination);
    if (!facts) return failure(facts);
    const Volume& volume = facts->volume;
    if (volume.number == own) return Found{.isOwnVolume = true, .entry = {}, .folder = {}};
    const std::string identity = oneLine(volume.identity);
    for (const Listed& entry : listed) {
        if (entry.volume != identity) continue;
        const Path folder = whereIs(files, entry);
        if (standsOn(files, folder, volume)) return Found{.isOwnVolume = false, .entry = entry, .folder = folder};
    }
    const Path folder = volume.folder / name;
    return Found{.isOwnVolume = false, .entry = {identity, folder, facts->mountPoint}, .folder = folder};
}

// Blocks, like all that has to do with volumes.
Path ReceivingFolders::whereIs(FileManager& files, const Listed& entry) {
    if (entry.mountPoint.empty() || isMounted(files, entry.folder, entry)) return entry.folder;
    const Path below = entry.folder.lexically_relative(entry.mountPoint);
    for (const Path& point : files.mountPoints(entry.volume))
        if (files.exists(point / below)) return point / below;
    return entry.folder;
}

Task<Result<ReceivingFolders::Place>> ReceivingFolders::choose(Path destination, std::uint64_t volume, std::string lane,
                                                               std::stop_token stop) {
    if (volume == ownVolume_) {
        Result<Place> place = co_await find(std::nullopt, stop);
        co_return place;
    }
    Result<Found> found = co_await listFor(std::move(destination), lane, stop);
    if (!found) co_return failure(found);
    if (found->isOwnVolume) {
        Result<Place> place = co_await find(std::nullopt, stop);
        co_return place;
    }
    auto make = [&files = ports_.files, folder = found->folder]() -> Result<bool> {
        if (Result<void> made = files.createPrivateFolder(folder); !made) return failure(made);
        return true;
    };
    Result<bool> made = co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(lane), stop, std::move(make));
    if (!made) co_return failure(made);
    Result<Place> place = co_await find(found->entry.folder, stop);
    co_return place;
}

// The destination's volume, with its entry in the list on the disk.
Task<Result<ReceivingFolders::Found>> ReceivingFolders::listFor(Path destination, std::string lane,
                                                                std::stop_token stop) {
    while (true) {
        const std::vector<Listed> listed = listed_;
        auto work = [&files = ports_.files, destination, own = ownVolume_, listed, name = folderName()] {
            return look(files, destination, own, listed, name);
        };
        Result<Found> found = co_await onVolume<Found>(ports_.loop, ports_.volumes, lane, stop, std::move(work));
        if (!found) co_return failure(found);
        if (found->isOwnVolume) co_return std::move(*found);
        if (!holds(listed_, found->entry)) {
            if (listed_ != listed) continue;  // another one may have found the same volume meanwhile
            listed_.push_back(found->entry);
        }
        chosen_.insert(found->entry.folder);
        if (holds(listedOnDisk_, found->entry)) co_return std::move(*found);
        Result<void> written = co_await write(stop);
        if (!written && written.error().code == ErrorCase::diskFull) written.error().code = ErrorCase::file;
        if (!written) co_return failure(written);
        co_return std::move(*found);
    }
}

Task<Result<ReceivingFolders::Place>> ReceivingFolders::find(std::optional<Path> folder, std::stop_token stop) {
    const auto entry = folder ? listed(*folder) : std::nullopt;
    if (folder && !entry)
        co_return failure(Error(ErrorCase::file, "The folder in which the download was received is not known."));
    Path path = own_;
    if (entry) {
        Result<Path> found = co_await findFolder(*entry, stop);
        if (!found) co_return failure(found);
        path = std::move(*found);
    }
    // A cleaning that began before has asked for the lane before, so its work is there already.
    Result<std::string> lane = co_await ports_.lanes.laneOf(path, std::move(stop));
    if (!lane) co_return failure(lane);
    co_return Place{path, std::move(*lane)};
}

Task<Result<Path>> ReceivingFolders::findFolder(Listed entry, std::stop_token stop) {
    auto look = [&files = ports_.files, entry]() -> Result<Path> { return whereIs(files, entry); };
    Result<Path> folder = co_await onVolume<Path>(ports_.loop, ports_.volumes, searchLane(entry.folder),
                                                  std::move(stop), std::move(look));
    if (folder && *folder != entry.folder) movedTo_[*folder] = entry.folder;
    co_return folder;
}

void ReceivingFolders::runIn(const Listed& entry, PlacedWork work) {
    ports_.volumes.run(
        searchLane(entry.folder), [&files = ports_.files, &volumes = ports_.volumes, entry, work = std::move(work)] {
            const Path folder = whereIs(files, entry);
            VolumeLanes::run(files, volumes, folder,
                             [&files, entry, folder, work] { work(files, folder, isMounted(files, folder, entry)); });
        });
}

// --- Cleaning ---

void ReceivingFolders::visit(const Work& work) {
    ports_.lanes.run(own_, [own = own_, work] { work(own, own); });
    for (const Listed& entry : listed_)
        runIn(entry, [entry, work](FileManager& files, const Path& folder, bool isThere) {
            work(entry.folder, isThere ? std::optional(folder) : std::nullopt);
            if (isThere) removeEmptyFolder(files, folder);
        });
}

bool ReceivingFolders::isMounted(FileManager& files, const Path& folder, const Listed& entry) {
    const Result<Volume> volume = files.volume(folder);
    return volume && oneLine(volume->identity) == entry.volume;
}

Task<> ReceivingFolders::forgetIfGone(Path folder) {
    Result<std::string> lane = co_await ports_.lanes.laneOf(folder, {});
    const auto entry = std::ranges::find(listed_, folder, &Listed::folder);
    if (!lane || entry == listed_.end()) co_return;
    auto look = [&files = ports_.files, entry = *entry]() -> Result<bool> {
        return isMounted(files, entry.folder, entry) && !files.exists(entry.folder);
    };
    Result<bool> isGone = co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(*lane), {}, std::move(look));
    if (!isGone || !*isGone || chosen_.contains(folder)) co_return;
    std::erase_if(listed_, [&](const Listed& listed) { return listed.folder == folder; });
    Result<void> written = co_await write({});
    (void)written;  // an entry too many does no harm
}

void ReceivingFolders::remove(const std::optional<Path>& folder, const UUID& name) {
    if (!folder) {
        ports_.lanes.run(own_,
                         [&files = ports_.files, path = own_ / name.text()] { NoteFile::removeWithNote(files, path); });
        return;
    }
    const auto entry = listed(*folder);
    if (!entry) return;
    runIn(*entry, [name](FileManager& files, const Path& found, bool isThere) {
        if (!isThere) return;
        NoteFile::removeWithNote(files, found / name.text());
        removeEmptyFolder(files, found);
    });
}

std::optional<ReceivingFolders::Listed> ReceivingFolders::listed(const Path& folder) const {
    const auto entry = std::ranges::find(listed_, folder, &Listed::folder);
    return entry == listed_.end() ? std::nullopt : std::optional(*entry);
}

void ReceivingFolders::removeIfEmpty(const Place& place) {
    if (place.folder == own_) return;
    ports_.volumes.run(place.lane,
                       [&files = ports_.files, folder = place.folder] { removeEmptyFolder(files, folder); });
}

}  // namespace tovri
