#pragma once

#include <filesystem>
#include <string>

#include "downloads/running/RunSurroundings.h"

namespace tovri {

// Takes whole files to the staging folder, where they wait for the user, and back among the partial files.
class Staging {
public:
    using Path = std::filesystem::path;

    // `around` outlives this.
    explicit Staging(RunSurroundings& around) : around_(around) {}

    [[nodiscard]] bool holds(const Path& file) const { return file.parent_path() == around_.stagingFolder; }

    // Where the file stands then: perhaps for days, so its bytes are to survive until then. `lane` is that of the
    // volume on which it was received. A failure leaves it there.
    Task<Result<Path>> stage(Path received, std::string lane);

    // A partial file that holds all bytes, with its token.
    struct Unstaged {
        Path file;
        ByteBlob token;
    };

    Task<Result<Unstaged>> unstage(Path staged);

private:
    RunSurroundings& around_;
};

}  // namespace tovri
