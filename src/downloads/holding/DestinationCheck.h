#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>

#include "base/Subscription.h"
#include "base/Task.h"
#include "downloads/holding/DestinationBook.h"
#include "downloads/list/Download.h"
#include "platform/MainLoop.h"
#include "platform/VolumeQueues.h"
#include "settings/Preferences.h"

namespace tovri {

// Says, before a transfer starts, whether its destination can take the file: its name, a folder that can be written to,
// the volume that is expected there, and room for what is missing of it and of all that runs. Looks at volumes on their
// lanes; holds and releases nothing.
class DestinationCheck {
public:
    using Path = std::filesystem::path;

    // What it works with; outlives it. `data` is Tovri's own folder, where nothing is downloaded; a file in it keeps
    // which destination is on which volume.
    struct Ports {
        MainLoop& loop;
        FileManager& files;
        VolumeQueues& volumes;
        Path data;
    };

    explicit DestinationCheck(Ports ports) : ports_(std::move(ports)) {}

    void configure(const Preferences& preferences) { preferences_ = &preferences; }

    // Reads what was kept. Blocks.
    void load();

    // The lane is the volume's. A failure is a cancellation, or the volume cannot be looked at.
    Task<Result<DestinationFacts>> look(Path folder, std::string lane, std::stop_token stop) {
        return lookAt(std::move(folder), std::nullopt, std::move(lane), std::move(stop));
    }

    // The same for a file that is to be placed there.
    Task<Result<DestinationFacts>> lookFor(Path file, std::string lane, std::stop_token stop) {
        return lookAt(file.parent_path(), file, std::move(lane), std::move(stop));
    }

    // The bytes that the item's volume still has to find room for: they gather there. A file that has arrived whole and
    // has no place yet needs none.
    [[nodiscard]] static ByteCount missing(const Download& item);

    // What keeps the item from being fetched now, or null. `facts` are about its folder.
    [[nodiscard]] HoldPointer obstacle(const Download& item, const DestinationFacts& facts);

    // The same from what was seen a moment ago; null where nothing was, or nothing stood in the way.
    [[nodiscard]] HoldPointer knownObstacle(const Download& item) const;

    // What to wait for when the volume of this folder had no room for the bytes that were missing there.
    [[nodiscard]] HoldPointer refusal(ByteCount missing, const Path& folder, const DestinationFacts& facts) const;

    // What to wait for when the folder cannot even be looked at.
    [[nodiscard]] static HoldPointer unreachable(const Path& folder);

    // Whether that for which it waits has come. `promised` is the room that was given to others since the look, and
    // grows by what this one needs.
    [[nodiscard]] bool isOver(const Hold& hold, const DestinationFacts& facts, ByteCount& promised) const;

    // Keeps the room that the item still needs from others, until the claim goes.
    [[nodiscard]] Subscription claim(DownloadPointer item, const DestinationFacts& facts);

    [[nodiscard]] bool hasClaim(const Download& item) const;

    // A file has its place in the folder, of which `facts` were true before.
    void notePlaced(const Path& folder, const DestinationFacts& facts);

    // The user wants the folder to be used although another volume is expected there.
    void accept(const Path& folder, const DestinationFacts& facts);

    // From now on whatever volume a folder is on is the right one.
    void acceptAny() { acceptsAny_ = true; }

private:
    struct Claim {
        std::uint64_t volume = 0;
        DownloadPointer item;
        ByteCount needed = 0;  // when it began
    };

    // A claim that has gone: a look from before does not know what its item has filled.
    struct EndedClaim {
        std::uint64_t number = 0;
        std::uint64_t begun = 0;  // the number that it had
        Claim claim;              // without its item
    };

    // What was seen of a folder, and what of it concerns all files that go there.
    struct Seen {
        DestinationFacts facts;
        HoldPointer obstacle;
        MainLoop::TimePoint time;
    };

    Task<Result<DestinationFacts>> lookAt(Path folder, std::optional<Path> file, std::string lane,
                                          std::stop_token stop);

    [[nodiscard]] Path bookFile() const { return ports_.data / "destinations.list"; }

    [[nodiscard]] bool isFresh(const Seen& seen) const;
    [[nodiscard]] HoldPointer obstacleOfFolder(const Path& folder, const DestinationFacts& facts);
    [[nodiscard]] HoldPointer obstacleOfFile(const Download& item, const DestinationFacts& facts) const;
    [[nodiscard]] std::optional<ByteCount> freeRoom(const DestinationFacts& facts) const;
    void endClaim(std::uint64_t number);
    void save();

    Ports ports_;
    const Preferences* preferences_ = nullptr;
    DestinationBook book_;
    bool acceptsAny_ = false;
    std::uint64_t lastClaim_ = 0;
    std::map<std::uint64_t, Claim> claims_;
    std::uint64_t claimsEnded_ = 0;
    std::deque<EndedClaim> endedClaims_;          // the last ones
    std::unordered_map<std::string, Seen> seen_;  // by folder
};

}  // namespace tovri
