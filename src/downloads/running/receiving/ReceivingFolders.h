#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <vector>

#include "downloads/running/VolumeLanes.h"
#include "platform/RandomSource.h"

namespace tovri {

// Knows where the bytes of a download gather: on the volume that the file is bound for, so that it takes its place by a
// rename and no other disk needs room for it. For the volume of the application's data that is `Partial` there; on
// every other one a private folder, named after the data folder's own identifier, so that several data folders can use
// one volume. A list of those stands beside the queue file: what it names, and nothing else, is cleaned and gone on
// from. A folder is known by where it was made, and found where its volume is mounted now.
class ReceivingFolders {
public:
    using Path = std::filesystem::path;

    // What it works with; outlives it.
    struct Ports {
        MainLoop& loop;
        VolumeQueues& volumes;
        FileManager& files;
        RandomSource& random;
        VolumeLanes& lanes;
    };

    // A folder that receives, with the lane of its volume.
    struct Place {
        Path folder;
        std::string lane;
    };

    ReceivingFolders(Ports ports, const Path& applicationData);

    // Reads the list. Blocks; before anything else.
    void load();

    // Where a file that is bound for `destination` is received. The folder on another volume is made, and listed before
    // it is. `lane` is that of the destination's volume, which has this number; it is this one that is full when
    // ErrorCase::diskFull says so.
    Task<Result<Place>> choose(Path destination, std::uint64_t volume, std::string lane, std::stop_token stop);

    // The folder where a reception was begun; none stands for the one on the data's own volume. Fails for any that is
    // not listed.
    Task<Result<Place>> find(std::optional<Path> folder, std::stop_token stop);

    // What a token has to say of a folder for `find`.
    [[nodiscard]] std::optional<Path> tokenOf(const Path& folder) const;

    // The data's own, and those on other volumes.
    [[nodiscard]] std::vector<Path> folders() const;

    // Does the work in each of them, on its volume's thread, and removes the folders on other volumes that are empty
    // then. Told with each is where it is now, which is nowhere while its volume is away. No file that is chosen a
    // place later is there yet.
    using Work = std::function<void(const Path& folder, const std::optional<Path>& place)>;
    void visit(const Work& work);

    // Takes the folder from the list if it is gone; a volume that is not there keeps its place.
    Task<> forgetIfGone(Path folder);

    // Removes a partial file with its note, and its folder as removeIfEmpty.
    void remove(const std::optional<Path>& folder, const UUID& name);

    // Removes the folder if it is another volume's and empty.
    void removeIfEmpty(const Place& place);

private:
    struct Listed {
        std::string volume;  // Volume::identity
        Path folder;         // where it was made
        Path mountPoint;     // of the volume, then; empty where an earlier version made it

        bool operator==(const Listed&) const = default;
    };

    // Where a volume's folder is, or is to be.
    struct Found {
        bool isOwnVolume = false;
        Listed entry;
        Path folder;  // where it is now
    };

    [[nodiscard]] static Result<Found> look(FileManager& files, const Path& destination,
                                            std::optional<std::uint64_t> own, const std::vector<Listed>& listed,
                                            const std::string& name);
    [[nodiscard]] static bool isMounted(FileManager& files, const Path& folder, const Listed& entry);
    [[nodiscard]] static Path whereIs(FileManager& files, const Listed& entry);
    void loadIdentifier();
    [[nodiscard]] std::string identifierText() const;
    [[nodiscard]] std::optional<std::string> ownMark() const;
    Task<Result<Path>> findFolder(Listed entry, std::stop_token stop);
    using PlacedWork = std::function<void(FileManager& files, const Path& folder, bool isThere)>;
    void runIn(const Listed& entry, PlacedWork work);
    [[nodiscard]] std::optional<Listed> listed(const Path& folder) const;
    [[nodiscard]] static bool holds(const std::vector<Listed>& list, const Listed& entry);
    Task<Result<Found>> listFor(Path destination, std::string lane, std::stop_token stop);
    Task<Result<void>> write(std::stop_token stop);
    [[nodiscard]] std::string folderName();

    Ports ports_;
    Path own_;
    Path identifierFile_;
    Path listFile_;
    std::optional<std::uint64_t> ownVolume_;
    std::optional<UUID> identifier_;
    bool isIdentifierWritten_ = false;
    std::vector<Listed> listed_;
    std::vector<Listed> listedOnDisk_;  // for sure, whatever is being written
    int writes_ = 0;
    std::set<Path> chosen_;         // by this process
    std::map<Path, Path> movedTo_;  // where it is now, and where it was made
};

}  // namespace tovri
