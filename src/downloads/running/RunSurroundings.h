#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "downloads/DownloadService.h"
#include "downloads/connections/ConnectionBudget.h"
#include "downloads/connections/LinksAhead.h"
#include "downloads/holding/DestinationCheck.h"
#include "downloads/list/DownloadList.h"
#include "downloads/partials/KeptFiles.h"
#include "downloads/partials/Leftovers.h"
#include "downloads/placing/ConflictQueue.h"
#include "downloads/placing/DurabilityCommit.h"
#include "downloads/placing/Placement.h"
#include "downloads/retrying/Tries.h"
#include "downloads/running/Settlement.h"
#include "downloads/running/VolumeLanes.h"
#include "downloads/running/receiving/ReceivingFolders.h"
#include "downloads/saving/SaveSchedule.h"
#include "platform/DiagnosticLog.h"
#include "platform/RandomSource.h"
#include "platform/TransferSession.h"
#include "settings/Preferences.h"

namespace tovri {

// What every run works with. Owned by the download manager; outlives the runs.
struct RunSurroundings {
    MainLoop& loop;
    FileManager& files;
    VolumeQueues& volumes;
    RandomSource& random;
    DiagnosticLog& log;
    TransferSession& transfers;

    DownloadList& list;
    ConflictQueue& conflicts;
    Settlement& settlement;
    SaveSchedule& saves;
    Placement& placement;
    DurabilityCommit& durability;
    VolumeLanes& lanes;
    ReceivingFolders& receiving;
    KeptFiles& kept;
    Leftovers& leftovers;
    DestinationCheck& destinations;
    const WallClock& clock;
    HostBrakes& brakes;
    ConnectionBudget& connections;
    LinksAhead& links;

    std::filesystem::path stagingFolder;
    std::string bootID;              // WallClock::bootID
    std::function<void()> runWaits;  // a run has begun to wait for the user

    DownloadService* service = nullptr;        // null before the manager is configured
    const Preferences* preferences = nullptr;  // likewise
    bool isQueuePaused = false;
    std::optional<std::string> holdReason = {};  // why the whole queue waits
    MainLoop::TimePoint lastGain = {};           // when a byte came last, of any item
    bool isEnding = false;                       // nothing begins any more
};

}  // namespace tovri
