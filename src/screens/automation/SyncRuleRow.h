#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "automation/SyncRule.h"
#include "base/UUID.h"
#include "screens/MenuItem.h"
#include "screens/Tint.h"

namespace tovri {

enum class SyncRuleAction : std::uint8_t { edit, syncNow, remove };

// What a rule's row shows, column by column.
struct SyncRuleRow {
    // A column's header and its width in points; 0 shares what is left.
    struct Column {
        const char* title = "";
        int width = 0;
    };

    static constexpr Column columns[] = {{"put.io Folder", 0}, {"", 30},       {"Local Folder", 0},
                                         {"Interval", 70},     {"Status", 80}, {"", 50}};
    static constexpr std::string_view folderSymbol = "folder.fill";
    static constexpr std::string_view deletionSymbol = "trash";  // in the attention tint
    static constexpr const char* deletionHelp = "Auto-delete from put.io after download";
    static constexpr const char* switchName = "Enabled";  // not seen; for a screen reader
    static constexpr std::string_view arrowSymbol = "arrow.right";

    UUID id;
    std::string folderName;
    bool deletes = false;         // whether the symbol of deletion stands behind the name
    std::string localFolder;      // shortened at its head when it is too long
    std::string localFolderHelp;  // the whole path
    std::string interval;
    std::string status;
    Tint statusTint = Tint::secondary;
    std::string statusHelp;  // tooltip, or empty
    std::string failure;     // what failed last, on a line of its own below the folders; or empty
    bool isEnabled = true;   // the switch

    bool operator==(const SyncRuleRow&) const = default;
};

// What the engine says of the last failure, without the second of two full stops where it puts sentences together.
[[nodiscard]] std::string syncFailureText(std::string text);

// The path with "~" for the user's home folder.
[[nodiscard]] std::string abbreviatedPath(const std::string& path, const std::filesystem::path& home);

// `now` tells how long ago the rule was looked at.
[[nodiscard]] SyncRuleRow syncRuleRow(const SyncRule& rule, const std::filesystem::path& home, Timestamp now);

// How long after `now` the row reads differently by itself, if ever.
[[nodiscard]] std::optional<std::chrono::nanoseconds> timeToNextText(const SyncRule& rule, Timestamp now);

[[nodiscard]] std::vector<MenuItem<SyncRuleAction>> syncRuleMenu();

}  // namespace tovri
