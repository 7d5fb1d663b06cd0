#include "downloads/running/ReceivingFolders.h"

#include <algorithm>
#include <memory>
#include <ranges>
#include <string_view>

#include "base/FileURL.h"
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

// Lines of the folder's file URL and the volume's identity.
void ReceivingFolders::load() {
    if (const auto volume = ports_.files.volume(own_)) ownVolume_ = volume->number;
    if (const auto text = ports_.files.readFile(identifierFile_)) {
        identifier_ = UUID::parse(std::string_view(*text).substr(0, UUID::textLength));
        isIdentifierWritten_ = identifier_.has_value();
    }
    const auto text = ports_.files.readFile(listFile_);
    if (!text) return;
    for (const auto part : std::views::split(std::string_view(*text), '\n')) {
        const std::string_view line(part.begin(), part.end());
        const std::size_t at = line.find(separator);
        auto folder = parseFileURL(line.substr(0, at));
        if (at == std::string_view::npos || !folder || !folder->filename().native().starts_with(".tovri-")) continue;
        listed_.push_back({std::string(line.substr(at + 1)), std::move(*folder)});
    }
    listedOnDisk_ = listed_;
}

Task<Result<void>> ReceivingFolders::write(std::stop_token stop) {
    Result<std::string> lane = co_await ports_.lanes.laneOf(own_, stop);
    if (!lane) co_return failure(lane);
    std::vector<Listed> listed = listed_;
    std::erase_if(listedOnDisk_, [&](const Listed& entry) { return !holds(listed, entry); });
    const int number = ++writes_;
    std::string text;
    for (const Listed& entry : listed)
        text += fileURLText(entry.folder, FileURLKind::folder) + separator + entry.volume + '\n';
    std::optional<std::string> identifier;
    if (identifier_ && !isIdentifierWritten_) identifier = identifier_->text() + '\n';
    auto work = [&files = ports_.files, list = listFile_, text, file = identifierFile_, identifier]() -> Result<bool> {
        if (identifier)
            if (Result<void> written = files.writeFileAtomically(file, *identifier); !written) return failure(written);
        if (text.empty()) {
            (void)files.removeItem(list);
        } else if (Result<void> written = files.writeFileAtomically(list, text); !written) {
            return failure(written);
        }
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
    return folder == own_ ? std::nullopt : std::optional(folder);
}

// --- Which folder ---

Result<ReceivingFolders::Found> ReceivingFolders::look(FileManager& files, const Path& destination,
                                                       std::optional<std::uint64_t> own,
                                                       const std::vector<Listed>& listed, const std::string& name) {
    Result<Volume> volume = files.volume(destination);
    if (!volume) return failure(volume);
    if (volume->number == own) return Found{.isOwnVolume = true, .entry = {}};
    const std::string identity = oneLine(volume->identity);
    for (const Listed& entry : listed)
        if (entry.volume == identity && standsOn(files, entry.folder, *volume))
            return Found{.isOwnVolume = false, .entry = entry};
    return Found{.isOwnVolume = false, .entry = {identity, volume->folder / name}};
}

Task<Result<ReceivingFolders::Place>> ReceivingFolders::choose(Path destination, std::string lane,
                                                               std::stop_token stop) {
    Result<Listed> entry = co_await listFor(std::move(destination), lane, stop);
    if (!entry) co_return failure(entry);
    if (entry->folder == own_) {
        Result<Place> place = co_await find(std::nullopt, stop);
        co_return place;
    }
    auto make = [&files = ports_.files, folder = entry->folder]() -> Result<bool> {
        if (Result<void> made = files.createPrivateFolder(folder); !made) return failure(made);
        return true;
    };
    Result<bool> made = co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(lane), stop, std::move(make));
    if (!made) co_return failure(made);
    Result<Place> place = co_await find(entry->folder, stop);
    co_return place;
}

// The entry of the destination's volume, in the list on the disk; the data's own folder where it is that volume.
Task<Result<ReceivingFolders::Listed>> ReceivingFolders::listFor(Path destination, std::string lane,
                                                                 std::stop_token stop) {
    while (true) {
        const std::vector<Listed> listed = listed_;
        auto work = [&files = ports_.files, destination, own = ownVolume_, listed, name = folderName()] {
            return look(files, destination, own, listed, name);
        };
        Result<Found> found = co_await onVolume<Found>(ports_.loop, ports_.volumes, lane, stop, std::move(work));
        if (!found) co_return failure(found);
        if (found->isOwnVolume) co_return Listed{.volume = {}, .folder = own_};
        if (!holds(listed_, found->entry)) {
            if (listed_ != listed) continue;  // another one may have found the same volume meanwhile
            listed_.push_back(found->entry);
        }
        chosen_.insert(found->entry.folder);
        if (holds(listedOnDisk_, found->entry)) co_return std::move(found->entry);
        Result<void> written = co_await write(stop);
        if (!written && written.error().code == ErrorCase::diskFull) written.error().code = ErrorCase::file;
        if (!written) co_return failure(written);
        co_return std::move(found->entry);
    }
}

Task<Result<ReceivingFolders::Place>> ReceivingFolders::find(std::optional<Path> folder, std::stop_token stop) {
    if (folder && !isListed(*folder))
        co_return failure(Error(ErrorCase::file, "The folder in which the download was received is not known."));
    // A cleaning that began before has asked for the lane before, so its work is there already.
    const Path path = folder.value_or(own_);
    Result<std::string> lane = co_await ports_.lanes.laneOf(path, std::move(stop));
    if (!lane) co_return failure(lane);
    co_return Place{path, std::move(*lane)};
}

// --- Cleaning ---

void ReceivingFolders::visit(const Work& work) {
    ports_.lanes.run(own_, [own = own_, work] { work(own, true); });
    for (const Listed& entry : listed_)
        ports_.lanes.run(entry.folder, [&files = ports_.files, entry, work] {
            const bool isThere = isMounted(files, entry);
            work(entry.folder, isThere);
            if (isThere) removeEmptyFolder(files, entry.folder);
        });
}

bool ReceivingFolders::isMounted(FileManager& files, const Listed& entry) {
    const Result<Volume> volume = files.volume(entry.folder);
    return volume && oneLine(volume->identity) == entry.volume;
}

Task<> ReceivingFolders::forgetIfGone(Path folder) {
    Result<std::string> lane = co_await ports_.lanes.laneOf(folder, {});
    const auto entry = std::ranges::find(listed_, folder, &Listed::folder);
    if (!lane || entry == listed_.end()) co_return;
    auto look = [&files = ports_.files, entry = *entry]() -> Result<bool> {
        return isMounted(files, entry) && !files.exists(entry.folder);
    };
    Result<bool> isGone = co_await onVolume<bool>(ports_.loop, ports_.volumes, std::move(*lane), {}, std::move(look));
    if (!isGone || !*isGone || chosen_.contains(folder)) co_return;
    std::erase_if(listed_, [&](const Listed& listed) { return listed.folder == folder; });
    Result<void> written = co_await write({});
    (void)written;  // an entry too many does no harm
}

void ReceivingFolders::remove(const std::optional<Path>& folder, const UUID& name) {
    if (folder && !isListed(*folder)) return;
    const Path path = folder.value_or(own_);
    ports_.lanes.run(path, [&files = ports_.files, path, name = name.text(), isOwn = !folder.has_value()] {
        const Path note = NoteFile::pathOf(path / name);
        if (files.exists(note)) (void)files.removeItem(note);
        (void)files.removeItem(path / name);
        if (!isOwn) removeEmptyFolder(files, path);
    });
}

bool ReceivingFolders::isListed(const Path& folder) const {
    return std::ranges::find(listed_, folder, &Listed::folder) != listed_.end();
}

void ReceivingFolders::removeIfEmpty(const Place& place) {
    if (place.folder == own_) return;
    ports_.volumes.run(place.lane,
                       [&files = ports_.files, folder = place.folder] { removeEmptyFolder(files, folder); });
}

}  // namespace tovri
