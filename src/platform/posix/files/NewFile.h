#pragma once

#include <filesystem>
#include <utility>

#include <sys/types.h>

#include "base/Result.h"
#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// A file on its way to its name: it has none yet, or a hidden one on volumes that know no nameless files, and is gone
// unless it is placed. So an interrupted copy leaves nothing behind where the volume allows that.
class NewFile {
public:
    // `hidden` is the name it has where it needs one before its own; whatever stands there makes way.
    [[nodiscard]] static Result<NewFile> create(std::filesystem::path hidden, mode_t mode);

    NewFile(NewFile&& other) noexcept;
    NewFile& operator=(NewFile&&) = delete;
    ~NewFile();

    [[nodiscard]] int descriptor() const { return file_.number(); }

    // Both return 0 or an errno value. `to` is in the folder of the hidden name. Placing where nothing stands is EEXIST
    // when something does; placing over puts the file in the stead of another.
    [[nodiscard]] int placeWhereNothingStands(const std::filesystem::path& to);
    [[nodiscard]] int placeOver(const std::filesystem::path& to);

private:
    explicit NewFile(std::filesystem::path hidden) : hidden_(std::move(hidden)) {}

    void removeLeftover() const;
    [[nodiscard]] int linkAt(const std::filesystem::path& to) const;

    std::filesystem::path hidden_;
    bool hasName_ = false;  // whether something stands at hidden_
    FileDescriptor file_;
};

// A path in the folder that nobody uses: hidden, and short enough for every volume.
[[nodiscard]] std::filesystem::path hiddenPath(const std::filesystem::path& folder);

// Moves an entry within its volume to a name at which nothing stands. Returns 0 or an errno value.
[[nodiscard]] int renameWhereNothingStands(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace tovri
