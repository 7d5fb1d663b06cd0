#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "service/records/FileID.h"

namespace tovri {

// One step of the path from the root folder to the one that is shown.
struct Breadcrumb {
    FolderID id;
    std::string name;

    bool operator==(const Breadcrumb&) const = default;
};

using FolderPath = std::vector<Breadcrumb>;

// The folders that were on view before the present one, and, after going back, those that were on view after it.
class FolderHistory {
public:
    [[nodiscard]] bool canGoBack() const { return !back_.empty(); }

    [[nodiscard]] bool canGoForward() const { return !forward_.empty(); }

    // Another folder is entered: there is nothing after it.
    void leave(FolderPath path) {
        if (back_.size() == mostSteps) back_.erase(back_.begin());
        back_.push_back(std::move(path));
        forward_.clear();
    }

    // Where to go from `present`; none where there is nothing that way.
    [[nodiscard]] std::optional<FolderPath> goBack(FolderPath present) {
        return step(back_, forward_, std::move(present));
    }

    [[nodiscard]] std::optional<FolderPath> goForward(FolderPath present) {
        return step(forward_, back_, std::move(present));
    }

    void clear() {
        back_.clear();
        forward_.clear();
    }

private:
    using Paths = std::vector<FolderPath>;  // the last is the next to go to

    static constexpr std::size_t mostSteps = 100;

    [[nodiscard]] static std::optional<FolderPath> step(Paths& from, Paths& to, FolderPath present) {
        if (from.empty()) return std::nullopt;
        to.push_back(std::move(present));
        FolderPath next = std::move(from.back());
        from.pop_back();
        return next;
    }

    Paths back_;
    Paths forward_;
};

}  // namespace tovri
