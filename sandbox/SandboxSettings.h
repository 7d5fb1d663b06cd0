#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tovri::sandbox {

// How the sandbox behaves, apart from what the account holds.
struct SandboxSettings {
    std::string token = "sandbox-token";
    std::string username = "sandbox";
    std::int64_t diskSize = 1LL << 40;

    int apiPort = 0;  // 0: the system chooses
    int storagePort = 0;
    bool tls = false;
    std::string storageURL = {};  // of another server that holds the files by their paths; empty: our own storage

    std::size_t pageSize = 1000;              // entries in a listing before the cursor cuts it
    std::uint64_t crcLimit = UINT64_MAX;      // no CRC-32 is listed for larger files
    std::uint64_t uploadMemory = 64UL << 20;  // how much uploaded content is kept
    std::optional<std::chrono::milliseconds> linkLifetime = std::nullopt;
    bool deniesSignIn = false;
    double clockRate = 1;  // how much faster than real time transfers and folders live
};

}  // namespace tovri::sandbox
