#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/api/ApiCall.h"
#include "sandbox/api/JsonWriter.h"

namespace tovri::sandbox {

// An RSS feed that the service polls for the user.
struct Feed {
    std::int64_t id = 0;
    std::string title;
    std::string source;
    std::string keyword = {};
    FileID parentID = rootID;
    bool isPaused = false;
    bool skipsOldItems = false;  // "dont_process_whole_feed"
    bool deletesOldFiles = false;
    bool extracts = false;
};

// "/rss/...", and the feeds themselves. Safe to use from any thread.
class FeedsApi {
public:
    std::int64_t add(Feed feed);

    // None when the path is not of this API.
    std::optional<HttpResponse> answer(const ApiCall& call);

private:
    HttpResponse list() const;
    HttpResponse create(const ApiCall& call);
    HttpResponse change(const ApiCall& call);
    HttpResponse remove(const ApiCall& call);

    mutable std::mutex mutex_;
    std::int64_t lastID_ = 0;
    std::vector<Feed> feeds_;
};

}  // namespace tovri::sandbox
