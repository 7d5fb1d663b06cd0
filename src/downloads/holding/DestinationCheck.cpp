#include "downloads/holding/DestinationCheck.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "base/ByteCountFormat.h"
#include "platform/Await.h"

namespace tovri {
namespace {

using Path = std::filesystem::path;
using Reason = Hold::Reason;

constexpr ByteCount mebibyte = ByteCount{1024} * 1024;

// The longest name that would have to be made.
std::size_t longestNewName(const Download& item, const Volume& volume) {
    std::size_t longest = item.fileName.size();
    for (const Path& part : item.destinationFolder->lexically_relative(volume.folder))
        longest = std::max(longest, part.native().size());
    return longest;
}

HoldPointer makeHold(Hold hold) {
    return std::make_shared<const Hold>(std::move(hold));
}

HoldPointer waitForRoom(const Path& folder, const DestinationFacts& facts, ByteCount missing, ByteCount needed) {
    const std::string amount = missing > 0 ? formatByteCount(missing) : "room";
    return makeHold({.reason = Reason::room,
                     .what = "room on " + facts.volume.identity,
                     .folder = folder,
                     .needed = needed,
                     .text = "Waiting for " + amount + " on " + facts.volumeName()});
}

HoldPointer waitForFolder(const Path& folder, const Path& refusing) {
    return makeHold({.reason = Reason::folder,
                     .what = "folder " + refusing.native(),
                     .folder = folder,
                     .text = "Waiting: cannot write to " + refusing.native()});
}

HoldPointer waitForVolume(const Path& folder, const DestinationFacts& facts, const DestinationBook::Entry& expected) {
    const std::string name = volumeName(expected.mountPoint);
    const std::string text = name != facts.volumeName()
                                 ? name + ": " + expected.folder.native() + " is on " + facts.volumeName() + " now"
                                 : name + " (" + expected.identity + "): " + facts.volume.identity + " is in its place";
    return makeHold({.reason = Reason::volume,
                     .what = "volume of " + expected.folder.native(),
                     .folder = folder,
                     .text = "Waiting for " + text});
}

// What does not exist has nothing below it.
bool isAbove(FileManager& files, const Path& path, const Path& folder) {
    return files.exists(path) && files.isWithin(folder, path);
}

}  // namespace

// --- Looking ---

ByteCount DestinationCheck::missing(const Download& item) {
    const ByteCount here = std::max({item.bytesDownloaded, item.onDisk, item.roomKept});
    return item.receivedFile ? 0 : std::max<ByteCount>(0, item.expectedSize() - here);
}

void DestinationCheck::load() {
    if (const Result<ByteBlob> text = ports_.files.readFile(bookFile())) book_ = DestinationBook::decode(*text);
}

Task<Result<DestinationFacts>> DestinationCheck::lookAt(Path folder, std::optional<Path> file, std::string lane,
                                                        std::stop_token stop) {
    auto look = [&files = ports_.files, data = ports_.data, folder, file] {
        Result<DestinationFacts> facts = lookAtDestination(files, folder);
        if (facts && file) facts->isOurs = files.isWithin(*file, data) || isAbove(files, *file, data);
        return facts;
    };
    std::map<std::uint64_t, ByteCount> claimed;
    for (const auto& [number, claim] : claims_) claimed.emplace(number, missing(*claim.item));
    const std::uint64_t claimsEnded = claimsEnded_;
    Result<DestinationFacts> facts = co_await onVolume<DestinationFacts>(ports_.loop, ports_.volumes, std::move(lane),
                                                                         std::move(stop), std::move(look));
    if (facts) facts->claimed = std::move(claimed);
    if (facts) facts->claimsEnded = claimsEnded;
    co_return facts;
}

HoldPointer DestinationCheck::obstacle(const Download& item, const DestinationFacts& facts) {
    constexpr std::size_t few = 64;
    constexpr std::size_t most = 1024;
    HoldPointer ofFolder = obstacleOfFolder(*item.destinationFolder, facts);
    if (seen_.size() >= few) std::erase_if(seen_, [this](const auto& seen) { return !isFresh(seen.second); });
    if (seen_.size() >= most) seen_.clear();
    seen_.insert_or_assign(item.destinationFolder->native(), Seen{facts, ofFolder, ports_.loop.now()});
    return ofFolder ? ofFolder : obstacleOfFile(item, facts);
}

bool DestinationCheck::isFresh(const Seen& seen) const {
    constexpr std::chrono::seconds goodFor{1};
    return ports_.loop.now() - seen.time <= goodFor;
}

HoldPointer DestinationCheck::knownObstacle(const Download& item) const {
    const auto seen = seen_.find(item.destinationFolder->native());
    if (seen == seen_.end() || !isFresh(seen->second)) return nullptr;
    if (seen->second.obstacle) return seen->second.obstacle;
    return obstacleOfFile(item, seen->second.facts);
}

// --- What stands in the way ---

HoldPointer DestinationCheck::obstacleOfFolder(const Path& folder, const DestinationFacts& facts) {
    const DestinationBook::Entry* expected = book_.contradiction(folder, facts);
    if (expected && acceptsAny_)
        accept(folder, facts);
    else if (expected)
        return waitForVolume(folder, facts, *expected);
    return facts.volume.isWritable ? nullptr : waitForFolder(folder, facts.volume.folder);
}

HoldPointer DestinationCheck::obstacleOfFile(const Download& item, const DestinationFacts& facts) const {
    const Path& folder = *item.destinationFolder;
    if (const std::size_t length = longestNewName(item, facts.volume); length > facts.volume.longestName)
        return makeHold({.reason = Reason::name,
                         .what = "names on " + facts.volume.identity,
                         .folder = folder,
                         .needed = static_cast<ByteCount>(length),
                         .text = "Waiting: its name has " + std::to_string(length) + " bytes, " + facts.volumeName() +
                                 " allows " + std::to_string(facts.volume.longestName)});
    const ByteCount needed = missing(item);
    const std::optional<ByteCount> room = freeRoom(facts);
    return needed > 0 && room && *room < needed ? waitForRoom(folder, facts, needed, needed) : nullptr;
}

// A volume may count room as free that it gives to nobody, or to others: then there has to be more of it than now.
HoldPointer DestinationCheck::refusal(ByteCount missing, const Path& folder, const DestinationFacts& facts) const {
    constexpr ByteCount more = 16 * mebibyte;
    const ByteCount needed = missing > 0 ? missing : more;
    const ByteCount room = freeRoom(facts).value_or(0);
    return waitForRoom(folder, facts, missing, room < needed ? needed : room + std::min(needed, more));
}

HoldPointer DestinationCheck::unreachable(const Path& folder) {
    return waitForFolder(folder, folder);
}

// What is left when all that runs has what it needs, and the user the reserve.
std::optional<ByteCount> DestinationCheck::freeRoom(const DestinationFacts& facts) const {
    const Volume& volume = facts.volume;
    if (!volume.available) return std::nullopt;
    constexpr std::int64_t most = std::numeric_limits<ByteCount>::max() / mebibyte;
    const ByteCount wanted = std::min(preferences_ ? preferences_->reservedMebibytes() : 256, most) * mebibyte;
    ByteCount room = *volume.available - (volume.total ? std::min(wanted, *volume.total / 100) : wanted);
    const auto needed = [&facts](std::uint64_t number, const Claim& claim) {
        const auto known = facts.claimed.find(number);
        return known == facts.claimed.end() ? claim.needed : known->second;
    };
    for (const auto& [number, claim] : claims_)
        if (claim.volume == volume.number) room -= needed(number, claim);
    for (const EndedClaim& ended : endedClaims_)
        if (ended.claim.volume == volume.number && ended.number > facts.claimsEnded)
            room -= needed(ended.begun, ended.claim);
    return room;
}

bool DestinationCheck::isOver(const Hold& hold, const DestinationFacts& facts, ByteCount& promised) const {
    switch (hold.reason) {
        case Reason::name:
            return facts.volume.longestName >= static_cast<std::size_t>(hold.needed);
        case Reason::folder:
            return facts.volume.isWritable;
        case Reason::volume:
            return acceptsAny_ || !book_.contradiction(hold.folder, facts);
        case Reason::service:
        case Reason::later:
        case Reason::account:
            return false;
        case Reason::room:
            break;
    }
    const std::optional<ByteCount> room = freeRoom(facts);
    if (room && *room - promised < hold.needed) return false;
    promised += hold.needed;
    return true;
}

Subscription DestinationCheck::claim(DownloadPointer item, const DestinationFacts& facts) {
    const std::uint64_t number = ++lastClaim_;
    const ByteCount needed = missing(*item);
    claims_.emplace(number, Claim{facts.volume.number, std::move(item), needed});
    return Subscription([this, number] { endClaim(number); });
}

void DestinationCheck::endClaim(std::uint64_t number) {
    constexpr std::size_t most = 256;
    auto ended = claims_.extract(number);
    ended.mapped().item.reset();
    endedClaims_.push_back({++claimsEnded_, number, std::move(ended.mapped())});
    if (endedClaims_.size() > most) endedClaims_.pop_front();
}

bool DestinationCheck::hasClaim(const Download& item) const {
    return std::ranges::any_of(claims_, [&](const auto& claim) { return claim.second.item.get() == &item; });
}

// --- Which volume is expected where ---

void DestinationCheck::notePlaced(const Path& folder, const DestinationFacts& facts) {
    if (book_.note(folder, facts)) save();
}

void DestinationCheck::accept(const Path& folder, const DestinationFacts& facts) {
    book_.accept(folder, facts);
    save();
}

// In a lane of its own, so that an older book never replaces a newer one. What a kill takes is noted again.
void DestinationCheck::save() {
    ports_.volumes.run("file " + bookFile().native(),
                       [&files = ports_.files, file = bookFile(), text = book_.encode()] {
                           (void)files.writeFileAtomically(file, text);
                       });
}

}  // namespace tovri
