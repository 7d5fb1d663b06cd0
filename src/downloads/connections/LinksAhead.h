#pragma once

#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadService.h"
#include "platform/MainLoop.h"

namespace tovri {

// The links of the files that come next, asked for while others are fetched, so that none waits for its look-up. A look
// ahead that fails is nobody's failure: its file's own look-up says why.
class LinksAhead {
public:
    // A link is not used later than this: nobody knows how long it is good for.
    static constexpr MainLoop::Duration lifetime = std::chrono::seconds(60);

    explicit LinksAhead(MainLoop& loop) : loop_(loop) {}

    // The service outlives this. Before, nothing is asked for.
    void configure(DownloadService& service) { service_ = &service; }

    // The put.io files that come next, in their order. Asks for the links that are missing and lets go of all others,
    // also of those that are asked for.
    void prepare(const std::vector<FileID>& files);

    // Lets go of the file's link and gives it away, once it has come; none where there is none, or it is too old.
    Task<std::optional<std::string>> take(FileID file, std::stop_token stop);

private:
    struct Look;

    Task<> ask(std::shared_ptr<Look> look);

    MainLoop& loop_;
    DownloadService* service_ = nullptr;
    std::vector<std::shared_ptr<Look>> looks_;
    TaskScope scope_;
};

}  // namespace tovri
