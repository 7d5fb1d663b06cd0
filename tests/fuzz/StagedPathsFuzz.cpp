// Paths of the queue file that are said to stand in the staging folder.
#include <filesystem>

#include "downloads/restoring/StagedPath.h"
#include "fuzz/Fuzz.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using tovri::fuzz::require;
    const std::filesystem::path folder = "/data/Staging";
    const std::string_view text = tovri::fuzz::textOf(bytes, size);
    for (const std::string& path : {std::string(text), folder.native() + "/" + std::string(text)}) {
        if (!tovri::isStagedPath(path, folder)) continue;
        const std::filesystem::path named(path);
        require(named.parent_path() == folder);
        require(named.lexically_normal() == named && named.has_filename());
        require(std::string_view(named.c_str()) == path);
    }
    return 0;
}
