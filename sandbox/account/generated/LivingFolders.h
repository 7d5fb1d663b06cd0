#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "sandbox/account/Account.h"

namespace tovri::sandbox {

// How a folder changes by itself.
struct LivingFolder {
    enum class Change {
        grows,  // a new file each time, now and then in a sub-folder
        turns   // besides, its own files are renamed, replaced and removed
    };

    std::string path;  // made when it is missing
    double interval = 0;
    Change change = Change::grows;
};

// Folders that change as time goes by, for whoever watches them. Only files that came this way are renamed, replaced or
// removed. Safe to use from any thread.
class LivingFolders {
public:
    // The clock tells seconds, from any start. The account outlives this object.
    LivingFolders(Account& account, std::function<double()> clock) : account_(account), clock_(std::move(clock)) {}

    // The first change comes one interval from now.
    void add(LivingFolder folder);

    // Brings the account up to date with what has changed by now.
    void advance();

private:
    struct State {
        LivingFolder folder;
        double nextAt = 0;
        int changes = 0;
        int files = 0;              // added so far
        std::vector<FileID> added;  // oldest first
    };

    void step(State& state);
    void addFile(State& state);

    Account& account_;
    std::function<double()> clock_;
    std::mutex mutex_;
    std::vector<State> states_;
};

}  // namespace tovri::sandbox
