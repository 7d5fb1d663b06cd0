#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadService.h"
#include "downloads/retrying/HostBrake.h"

namespace tovri {

// The links of the files that come next, asked for while others are fetched, so that none waits for its look-up. A look
// ahead that fails is nobody's failure: its file's own look-up says why. None is begun while the service is held
// back, or keeps requests to a pace: then those that are needed go first.
class LinksAhead {
public:
    // A link is not used later than this: nobody knows how long it is good for.
    static constexpr MainLoop::Duration lifetime = std::chrono::seconds(60);

    // One look-up.
    struct Look;

    // What the references name outlives this.
    LinksAhead(MainLoop& loop, RandomSource& random, HostBrakes& brakes)
        : loop_(loop), brakes_(brakes), id_(random.makeUUID()) {}

    // The service outlives this. Before, nothing is asked for.
    void configure(DownloadService& service) { service_ = &service; }

    // The put.io files that come next, in their order. Asks for the links that are missing and lets go of all others,
    // also of those that are asked for.
    void prepare(const std::vector<FileID>& files);

    // The look-up of the file's link, which is its taker's alone from now on; null where there is none.
    [[nodiscard]] std::shared_ptr<Look> take(FileID file);

    // What it gave, once it has come; none where it failed, or is too old.
    Task<std::optional<std::string>> linkOf(std::shared_ptr<Look> look, std::stop_token stop);

private:
    Task<> ask(std::shared_ptr<Look> look);

    MainLoop& loop_;
    HostBrakes& brakes_;
    const UUID id_;
    DownloadService* service_ = nullptr;
    std::vector<std::shared_ptr<Look>> looks_;
    TaskScope scope_;
};

}  // namespace tovri
