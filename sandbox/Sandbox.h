#pragma once

#include <memory>
#include <string>

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/Scene.h"
#include "sandbox/account/Transfers.h"
#include "sandbox/account/generated/LivingFolders.h"
#include "sandbox/api/FeedsApi.h"
#include "sandbox/faults/Faults.h"
#include "sandbox/http/RequestLog.h"

namespace tovri::sandbox {

// A whole stand-in for the service, in this process: an account, the servers that show it, the faults that strike, and
// a log of what was asked. Fill the account, start it, and point a client at its addresses.
class Sandbox {
public:
    explicit Sandbox(SandboxSettings settings = {});
    ~Sandbox();

    Account& account();
    Transfers& transfers();
    LivingFolders& folders();
    FeedsApi& feeds();
    Faults& faults();
    RequestLog& log();
    const SandboxSettings& settings() const;

    // For what fills a sandbox before it starts; the settings count from the start on.
    Scene scene();

    // Throws std::runtime_error when a port cannot be had.
    void start();

    // Closes all connections; those in the middle of an answer too. A later start takes the same ports.
    void stop();

    // "http://127.0.0.1:PORT", also of the upload endpoint and of the pages for a browser. Valid once started.
    std::string apiURL() const;
    std::string storageURL() const;

    // How many TLS connections to the storage went on with the session of an earlier one.
    long resumedSessions() const;

    // The certificate to trust; empty without TLS.
    std::string certificatePem() const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

}  // namespace tovri::sandbox
