#pragma once

#include <functional>
#include <string>
#include <vector>

#include "screens/files/FolderChoice.h"

namespace tovri {

// The sheet that asks where files are to be moved to. Owned by the file browser, which moves them.
class MoveSheet {
public:
    static constexpr const char* folderSection = "put.io Folder";
    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* confirmLabel = "Move";

    // `api` and `random` outlive the sheet; `move` is told of what was confirmed, the sheet closed by then.
    using Move = std::function<void(std::vector<FileID> files, Breadcrumb folder)>;

    MoveSheet(PutIOAPI& api, RandomSource& random, Move move) : folder_(api, random), move_(std::move(move)) {}

    // For the files of the folder to which the path leads.
    void open(std::vector<const PutIOFile*> files, const FolderPath& path);
    void close();

    [[nodiscard]] bool isOpen() const { return !files_.empty(); }

    [[nodiscard]] const std::string& title() const { return title_; }

    [[nodiscard]] FolderChoice& folder() { return folder_; }

    // Not to where they are already, nor into themselves.
    [[nodiscard]] bool canConfirm() const;

    void confirm();

    // Told of opening and closing; the choice of the folder tells for itself.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    FolderChoice folder_;
    Move move_;
    std::vector<FileID> files_;
    FolderID origin_;
    std::string title_;
    Signal<> changes_;
};

}  // namespace tovri
