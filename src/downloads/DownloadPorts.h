#pragma once

#include "platform/Platform.h"
#include "platform/TransferSession.h"

namespace tovri {

// What the download engine reaches the machine through. All of it outlives the engine.
struct DownloadPorts {
    MainLoop& loop;
    WallClock& clock;
    RandomSource& random;
    FileManager& files;
    FolderAccess& folderAccess;
    VolumeQueues& volumes;
    DiagnosticLog& log;
    TransferSession& transfers;
    StandardFolders folders;
};

// Those among the ports of the whole program.
[[nodiscard]] inline DownloadPorts downloadPorts(const Platform& platform, TransferSession& transfers) {
    return {.loop = platform.loop,
            .clock = platform.clock,
            .random = platform.random,
            .files = platform.files,
            .folderAccess = platform.folderAccess,
            .volumes = platform.volumes,
            .log = platform.log,
            .transfers = transfers,
            .folders = platform.folders};
}

}  // namespace tovri
