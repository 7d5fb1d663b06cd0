#pragma once

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/Account.h"
#include "sandbox/account/Transfers.h"
#include "sandbox/api/FeedsApi.h"
#include "sandbox/faults/Faults.h"

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
