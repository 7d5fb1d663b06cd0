#pragma once

#include "sandbox/Account.h"
#include "sandbox/Faults.h"
#include "sandbox/FeedsApi.h"
#include "sandbox/SandboxSettings.h"
#include "sandbox/Transfers.h"

namespace tovri::sandbox {

// What there is to fill when a sandbox is set up.
struct Scene {
    Account& account;
    Transfers& transfers;
    FeedsApi& feeds;
    Faults& faults;
    SandboxSettings& settings;
};

}  // namespace tovri::sandbox
