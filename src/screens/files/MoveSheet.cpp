#include "screens/files/MoveSheet.h"

#include <algorithm>
#include <utility>

namespace tovri {

void MoveSheet::open(std::vector<const PutIOFile*> files, const FolderPath& path) {
    if (files.empty() || isOpen()) return;
    title_ = files.size() == 1 ? "Move “" + files.front()->name + "” to…"
                               : "Move " + std::to_string(files.size()) + " items to…";
    for (const PutIOFile* file : files) files_.push_back(file->id);
    origin_ = path.back().id;
    folder_.open(path.back(), path);
    changes_.tell();
}

void MoveSheet::close() {
    if (!isOpen()) return;
    files_.clear();
    folder_.close();
    changes_.tell();
}

bool MoveSheet::canConfirm() const {
    const FolderID chosen = folder_.chosen().id;
    if (!isOpen() || chosen == origin_) return false;
    return std::ranges::none_of(folder_.path(), [this](const Breadcrumb& step) {
        return std::ranges::any_of(files_, [&](FileID file) { return folderOf(file) == step.id; });
    });
}

void MoveSheet::confirm() {
    if (!canConfirm()) return;
    std::vector<FileID> files = files_;
    const Breadcrumb folder = folder_.chosen();
    close();
    move_(std::move(files), folder);
}

}  // namespace tovri
