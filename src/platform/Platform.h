#pragma once

#include "platform/BackgroundQueue.h"
#include "platform/DiagnosticLog.h"
#include "platform/FileManager.h"
#include "platform/FolderAccess.h"
#include "platform/MainLoop.h"
#include "platform/RandomSource.h"
#include "platform/SleepClock.h"
#include "platform/VolumeQueues.h"
#include "platform/WallClock.h"

namespace tovri {

// The ports that most of the core needs, in one hand. What it names outlives whoever holds it.
struct Platform {
    MainLoop& loop;
    WallClock& clock;
    RandomSource& random;
    FileManager& files;
    FolderAccess& folderAccess;
    BackgroundQueue& background;
    VolumeQueues& volumes;
    DiagnosticLog& log;
    StandardFolders folders;
    const SleepClock* sleep = nullptr;  // none where the machine never sleeps
};

}  // namespace tovri
