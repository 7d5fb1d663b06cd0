#include "screens/files/FileDetails.h"

#include <array>
#include <string>

#include "screens/DateText.h"

namespace tovri {
namespace {

// In the order of the types.
constexpr std::array typeNames = {"Folder", "File", "Audio", "Video", "Image", "Archive", "PDF", "Text"};

std::string typeText(const PutIOFile& file) {
    const auto type = file.fileType.value_or(PutIOFile::FileType::file);
    const std::string name = typeNames.at(static_cast<std::size_t>(type));
    return file.isFolder() || !file.contentType ? name : name + ", " + *file.contentType;
}

Details detailsOf(const PutIOFile& file, const WallClock& clock) {
    Details details{.title = file.name, .links = {putIOLink()}};
    const bool hasSize = file.size.value_or(0) > 0;
    details.facts = {{"Type", typeText(file)}, {"Size", hasSize ? wholeSizeText(*file.size) : file.displaySize()}};
    if (file.createdAt) details.facts.push_back({"Created", dateText(*file.createdAt, clock)});
    if (file.updatedAt) details.facts.push_back({"Changed", dateText(*file.updatedAt, clock)});
    if (!file.isFolder()) details.facts.push_back({"Checksum (CRC-32)", file.crc32.value_or("put.io gives none")});
    return details;
}

}  // namespace

Details fileDetails(const std::vector<const PutIOFile*>& selected, const WallClock& clock) {
    if (selected.empty()) return noDetails("Select a file to see its details.");
    if (selected.size() == 1) return detailsOf(*selected.front(), clock);
    SelectedSizes sizes;
    for (const PutIOFile* file : selected) sizes.add(file->isFolder() ? file->size.value_or(0) : file->size);
    return selectionDetails(sizes, "items");
}

}  // namespace tovri
