#pragma once

#include <filesystem>
#include <string>

namespace tovri {

// The hidden name under which `from` is gathered beside `to` while it crosses volumes. A killed process leaves it
// there.
[[nodiscard]] inline std::filesystem::path gatheringPath(const std::filesystem::path& from,
                                                         const std::filesystem::path& to) {
    return to.parent_path() / (".tovri-" + from.filename().native());
}

// Where a folder goes that makes way for a file: "NAME (replaced)", then "NAME (replaced 2)" and so on for a `number`
// above 1. The name loses as many letters at its end as it takes to be `longest` bytes long at most.
[[nodiscard]] inline std::filesystem::path replacedPath(const std::filesystem::path& folder, int number,
                                                        std::size_t longest) {
    const std::string mark = number == 1 ? " (replaced)" : " (replaced " + std::to_string(number) + ")";
    std::string name = folder.filename().native();
    const auto isInsideLetter = [&](std::size_t at) { return (static_cast<unsigned char>(name[at]) & 0xC0U) == 0x80U; };
    std::size_t length = name.size();
    if (length + mark.size() > longest) {
        length = longest - mark.size();
        while (length > 0 && isInsideLetter(length)) --length;
    }
    return folder.parent_path() / (name.substr(0, length) + mark);
}

}  // namespace tovri
