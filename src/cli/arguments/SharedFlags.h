#pragma once

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {

// Options that several commands have.

inline const FlagDefinition jsonDocument{"--json", "", "Print a JSON document"};
inline const FlagDefinition jsonEvents{"--json", "", "Print events as lines of JSON"};
inline const FlagDefinition yes{"--yes", "", "Do not ask"};
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
inline const FlagDefinition limitRate{"--limit-rate", "RATE",
                                      "The most bytes a second for all downloads together, for this run, as in 500K or "
                                      "2M: K is 1024, M 1024 K, G 1024 M; "
                                      "0 is no limit (otherwise: limitSpeed, speedLimit and speedTimetable)",
                                      ValueKind::rate};

}  // namespace tovri::cli
