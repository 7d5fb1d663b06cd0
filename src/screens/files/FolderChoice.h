#pragma once

#include <cstddef>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/RandomSource.h"
#include "screens/files/FolderHistory.h"
#include "service/PutIOAPI.h"

namespace tovri {

// Chooses a put.io folder by walking there. Browsing and choosing are one: the chosen folder is always the one whose
// sub-folders are listed. A listing that fails is an empty one.
class FolderChoice {
public:
    enum class Change { chosen, folders };

    // Both outlive the choice.
    FolderChoice(PutIOAPI& api, RandomSource& random) : api_(api), random_(random) {}

    // Begins anew. `path` leads to `chosen`, or only to where the way back begins.
    void open(Breadcrumb chosen, FolderPath path);

    // Lists no more, and forgets what was listed.
    void close();

    [[nodiscard]] const Breadcrumb& chosen() const { return chosen_; }

    [[nodiscard]] std::string chosenText() const { return "Selected: " + chosen_.name; }

    [[nodiscard]] const FolderPath& path() const { return path_; }

    // In the place of the folders while it is true.
    [[nodiscard]] bool isLoading() const { return isLoading_; }

    // Below the chosen one, in the service's order.
    [[nodiscard]] const std::vector<PutIOFile>& folders() const { return folders_; }

    // One of folders().
    void openFolder(std::size_t index);
    void openBreadcrumb(std::size_t index);

    // Told after the choice is consistent.
    Subscription onChange(std::function<void(Change)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void choose(Breadcrumb folder);
    void load();
    Task<> list(FolderID folder, UUID request, std::stop_token stop);
    void addFolders(std::vector<PutIOFile> listed);

    PutIOAPI& api_;
    RandomSource& random_;
    Breadcrumb chosen_;
    FolderPath path_;
    std::vector<PutIOFile> folders_;
    bool isLoading_ = false;
    UUID request_;              // of the newest listing
    std::stop_source listing_;  // stopped when the choice is closed
    Signal<Change> changes_;
    TaskScope scope_;
};

}  // namespace tovri
