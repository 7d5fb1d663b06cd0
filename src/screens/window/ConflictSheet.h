#pragma once

#include <array>
#include <string>

#include "downloads/placing/ConflictQueue.h"

namespace tovri {

// What asks the user about a name that is taken. Only one of its buttons ends it: it has neither a default button nor
// one that cancels, and Escape or closing it does nothing.
struct ConflictSheet {
    struct Button {
        ConflictChoice choice;
        const char* title;
        bool isEmphasised;
    };

    static constexpr const char* symbol = "exclamationmark.triangle.fill";
    static constexpr const char* title = "File Already Exists";
    static constexpr const char* existingLabel = "On disk";
    static constexpr const char* arrivingLabel = "Downloaded";
    static constexpr const char* applyToAllLabel = "Apply to all conflicts";
    static constexpr std::array buttons{Button{ConflictChoice::replace, "Replace", true},
                                        Button{ConflictChoice::keepBoth, "Keep Both", false},
                                        Button{ConflictChoice::skip, "Skip", false}};
    static constexpr int symbolSize = 36;  // points
    static constexpr int width = 340;      // points

    UUID id;                   // of the conflict
    std::string message;       // secondary
    std::string existingPath;  // tertiary, cut in its middle
    std::string existing;      // its size and date; "…" before its volume has said so
    std::string arriving;      // those of the file that wants the name; the size at once
    bool applyToAll = false;   // the switch
};

[[nodiscard]] ConflictSheet conflictSheet(const FileConflict& conflict);

}  // namespace tovri
