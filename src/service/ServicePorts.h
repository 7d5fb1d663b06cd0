#pragma once

#include <filesystem>
#include <string>

#include "platform/Platform.h"

namespace tovri {

// What the service's client reaches the machine through. All of it outlives the client.
struct ServicePorts {
    MainLoop& loop;
    BackgroundQueue& background;
    FileManager& files;
    RandomSource& random;
    DiagnosticLog& log;
    std::filesystem::path temporaryFolder;
    std::string uploadPrefix;  // how the names of this process's files there begin
};

// Those among the ports of the whole program.
[[nodiscard]] inline ServicePorts servicePorts(const Platform& platform) {
    return {.loop = platform.loop,
            .background = platform.background,
            .files = platform.files,
            .random = platform.random,
            .log = platform.log,
            .temporaryFolder = platform.folders.temporary,
            .uploadPrefix = platform.folders.uploadPrefix};
}

}  // namespace tovri
