#pragma once

#include <optional>
#include <string>
#include <vector>

#include "sandbox/SandboxSettings.h"
#include "sandbox/account/generated/GeneratedAccount.h"
#include "sandbox/account/generated/LivingFolders.h"

namespace tovri::sandbox {

// What the command line asks for.
struct Options {
    SandboxSettings settings;
    std::optional<std::string> token;     // stands above the account file's
    std::optional<std::string> username;  // likewise
    std::string accountFile;
    bool isDemo = false;
    bool isGenerated = false;
    GeneratedAccountSettings generated;
    std::vector<LivingFolder> livingFolders;
    std::vector<std::string> faults;
    std::string writeTree;
    std::string envFile;
    std::string certificateFile;
    std::string logFile;
    bool exitsWithParent = false;
};

struct OptionsOrExit {
    std::optional<Options> options;
    int exitStatus = 0;  // when there are none: help was shown, or an error
};

OptionsOrExit parseOptions(int count, char** arguments);

}  // namespace tovri::sandbox
