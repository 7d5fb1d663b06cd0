#include "sandbox/account/generated/DemoAccount.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "sandbox/account/Scene.h"

namespace tovri::sandbox {
namespace {

struct DemoFile {
    std::string_view path;  // folders are made as they are met
    std::uint64_t size;
};

constexpr std::uint64_t kilobyte = 1000;
constexpr std::uint64_t megabyte = 1000 * kilobyte;

constexpr DemoFile demoFiles[] = {
    {"Films/A Trip to the Moon (1902)/A Trip to the Moon (1902).mp4", 14'310 * kilobyte},
    {"Films/A Trip to the Moon (1902)/A Trip to the Moon (1902).en.srt", 6'204},
    {"Films/The Great Train Robbery (1903).mp4", 11'870 * kilobyte},
    {"Films/Nosferatu (1922)/Nosferatu (1922).mkv", 38'400 * kilobyte},
    {"Films/Nosferatu (1922)/Nosferatu (1922).de.srt", 21'733},
    {"Films/Nosferatu (1922)/Nosferatu (1922).en.srt", 20'915},
    {"Films/Nosferatu (1922)/Poster.jpg", 842 * kilobyte},
    {"Films/Safety Last! (1923).mkv", 26'120 * kilobyte},
    {"Films/Sherlock Jr. (1924).mkv", 19'980 * kilobyte},
    {"Films/The General (1926)/The General (1926).mkv", 33'750 * kilobyte},
    {"Films/The General (1926)/The General (1926).en.srt", 11'402},
    {"Films/The General (1926)/Poster.jpg", 1'204 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E01 - Isengrim's Complaint.mkv", 12'460 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E02 - The Bear and the Honey.mkv", 12'900 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E03 - Tibert's Trap.mkv", 11'730 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E04 - At the King's Court.mkv", 13'340 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E05 - The Pilgrim.mkv", 12'080 * kilobyte},
    {"Series/The Adventures of Reynard/Season 1/S01E06 - The Duel.mkv", 14'610 * kilobyte},
    {"Series/The Adventures of Reynard/tvshow.nfo", 1'466},
    {"Music/Bach - Goldberg Variations/01 Aria.flac", 5'120 * kilobyte},
    {"Music/Bach - Goldberg Variations/02 Variatio 1.flac", 2'980 * kilobyte},
    {"Music/Bach - Goldberg Variations/03 Variatio 2.flac", 2'410 * kilobyte},
    {"Music/Bach - Goldberg Variations/04 Variatio 3.flac", 3'260 * kilobyte},
    {"Music/Bach - Goldberg Variations/cover.jpg", 388 * kilobyte},
    {"Music/Satie - Gymnop\u00e9dies/1 Lent et douloureux.mp3", 4'050 * kilobyte},
    {"Music/Satie - Gymnop\u00e9dies/2 Lent et triste.mp3", 3'490 * kilobyte},
    {"Music/Satie - Gymnop\u00e9dies/3 Lent et grave.mp3", 3'120 * kilobyte},
    {"Audiobooks/Alice's Adventures in Wonderland/Chapter 01.mp3", 6'730 * kilobyte},
    {"Audiobooks/Alice's Adventures in Wonderland/Chapter 02.mp3", 7'180 * kilobyte},
    {"Audiobooks/Alice's Adventures in Wonderland/Chapter 03.mp3", 5'940 * kilobyte},
    {"Audiobooks/Alice's Adventures in Wonderland/Chapter 04.mp3", 8'020 * kilobyte},
    {"Books/Frankenstein - Mary Shelley.epub", 472 * kilobyte},
    {"Books/The Time Machine - H. G. Wells.epub", 318 * kilobyte},
    {"Books/Moby-Dick - Herman Melville.pdf", 3'910 * kilobyte},
    {"Pictures/Earthrise.jpg", 2'640 * kilobyte},
    {"Pictures/The Blue Marble.jpg", 3'120 * kilobyte},
    {"Pictures/Pillars of Creation.tif", 9'870 * kilobyte},
    {"Pictures/Hokusai - The Great Wave.png", 6'450 * kilobyte},
    {"Archive/Old maps of Europe.zip", 16 * megabyte},
};

constexpr std::string_view welcome =
    "This account lives in a sandbox. Its files are as large as they say and full of noise;\n"
    "download, move and delete them as you like: they are back when the sandbox starts again.\n";

void addByPath(Account& account, std::string_view path, std::uint64_t size) {
    const std::size_t name = path.rfind('/') + 1;
    account.addFile(account.makeFolders(path.substr(0, name)), {.name = std::string(path.substr(name)), .size = size});
}

void addTransfers(Transfers& transfers, FileID films) {
    constexpr std::int64_t size = 734'003'200;
    const auto frozen = [&](std::string name, TransferProgress progress, std::string error = "") {
        const std::string source =
            "magnet:?xt=urn:btih:0000000000000000000000000000000000000000&dn=" + percentEncode(name);
        transfers.add({.source = source,
                       .name = std::move(name),
                       .saveParentID = films,
                       .size = size,
                       .errorMessage = std::move(error),
                       .frozen = std::move(progress)});
    };
    frozen("The Cabinet of Dr. Caligari (1920)", {.status = "IN_QUEUE"});
    frozen("Metropolis (1927)", {.status = "WAITING"});
    frozen("The Phantom of the Opera (1925)", {.status = "PREPARING_DOWNLOAD"});
    frozen("The Kid (1921)",
           {.status = "DOWNLOADING", .downloaded = size / 100 * 42, .downSpeed = 6'900'000, .secondsLeft = 62});
    frozen("Steamboat Bill, Jr. (1928)", {.status = "COMPLETING", .downloaded = size});
    frozen("Häxan (1922)", {.status = "SEEDING", .downloaded = size, .uploaded = size / 2, .upSpeed = 310'000});
    frozen("The Gold Rush (1925)", {.status = "STOPPING", .downloaded = size, .uploaded = size});
    frozen("Safety Last! (1923)", {.status = "COMPLETED", .downloaded = size, .uploaded = size});
    frozen("A very rare reel", {.status = "ERROR"}, "No seeds were found for this torrent.");
    transfers.add({.source = "https://example.com/press/Poster%20collection.zip", .saveParentID = films});
}

void addFeeds(FeedsApi& feeds, FileID series) {
    feeds.add({.title = "Silent film of the week", .source = "https://example.com/silent/rss", .parentID = series});
    feeds.add({.title = "Reynard, new episodes",
               .source = "https://example.com/reynard/feed.xml",
               .keyword = "1080p",
               .parentID = series,
               .skipsOldItems = true});
    feeds.add({.title = "Lectures (paused)",
               .source = "https://example.com/lectures.xml",
               .isPaused = true,
               .deletesOldFiles = true});
}

}  // namespace

void addDemoAccount(const Scene& scene) {
    for (const DemoFile& file : demoFiles) addByPath(scene.account, file.path, file.size);
    scene.account.addFile(rootID,
                          {.name = "Welcome.txt", .storedContent = std::make_shared<const std::string>(welcome)});
    const auto idOf = [&](std::string_view path) {
        const std::optional<File> folder = scene.account.findPath(path);
        return folder ? folder->id : rootID;
    };
    addTransfers(scene.transfers, idOf("/Films"));
    addFeeds(scene.feeds, idOf("/Series"));
}

}  // namespace tovri::sandbox
