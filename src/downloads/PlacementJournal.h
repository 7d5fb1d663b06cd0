#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/UUID.h"
#include "platform/FileManager.h"

namespace tovri {

// Remembers which file is about to get which name, from before it has it until the queue file knows. So a process that
// dies in between neither fetches the file again nor leaves it twice. Survives a kill; after a loss of power the file
// is fetched again at worst. Any thread: files are placed in the background while the queue is saved.
class PlacementJournal {
public:
    // `files` outlives this; `file` is the journal's own.
    PlacementJournal(FileManager& files, std::filesystem::path file);

    // `staged` is about to become, or has just become, `target`. A journal that cannot be written keeps nothing from
    // being placed.
    void note(const UUID& item, const std::filesystem::path& staged, const std::filesystem::path& target);

    // The queue file says what became of the items.
    void forget(const std::vector<UUID>& items);

    struct Leftovers {
        std::unordered_map<UUID, std::filesystem::path> arrived;  // by item: where its file stands
        std::vector<UUID> noted;                                  // every item of the journal
    };

    // What the previous process left: finds the files that got their names, and removes what was gathered beside a
    // name.
    [[nodiscard]] Leftovers recover();

private:
    void rewrite();

    FileManager& files_;
    std::filesystem::path file_;
    std::mutex access_;
    std::unordered_map<UUID, std::string> lines_;  // by item; several lines where several names were tried
    std::size_t forgottenBytes_ = 0;               // in the file still
};

}  // namespace tovri
