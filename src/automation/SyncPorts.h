#pragma once

#include <filesystem>

#include "platform/Platform.h"

namespace tovri {

// What the rules reach the machine through. All of it outlives them.
struct SyncPorts {
    MainLoop& loop;
    WallClock& clock;
    FileManager& files;
    FolderAccess& folderAccess;
    VolumeQueues& volumes;
    DiagnosticLog& log;
    const SleepClock* sleep;  // none where the machine never sleeps
    std::filesystem::path dataFolder;
};

// Those among the ports of the whole program.
[[nodiscard]] inline SyncPorts syncPorts(const Platform& platform) {
    return {.loop = platform.loop,
            .clock = platform.clock,
            .files = platform.files,
            .folderAccess = platform.folderAccess,
            .volumes = platform.volumes,
            .log = platform.log,
            .sleep = platform.sleep,
            .dataFolder = platform.folders.applicationData};
}

}  // namespace tovri
