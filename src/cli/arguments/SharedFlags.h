#pragma once

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {

// Options that several commands have.

inline const FlagDefinition jsonDocument{"--json", "", "Print a JSON document"};
inline const FlagDefinition jsonEvents{"--json", "", "Print events as lines of JSON"};
inline const FlagDefinition onConflict{"--on-conflict",
                                       "WHAT",
                                       "What to do when a name is taken, for this run (otherwise: conflictBehavior)",
                                       ValueKind::choice,
                                       {"ask", "keep-both", "replace", "skip"}};
inline const FlagDefinition useFolderAnyway{"--use-folder-anyway", "",
                                            "Write to a folder also where another volume is expected"};
inline const FlagDefinition jobs{"--jobs", "N",
                                 "How many downloads run at once, for this run (otherwise: maxConcurrentDownloads)",
                                 ValueKind::number};

}  // namespace tovri::cli
