#pragma once

#include <string>
#include <utility>
#include <vector>

#include "screens/ActionDialogs.h"
#include "service/ServiceFixture.h"

namespace tovri::test {

// An account with a list of transfers or feeds that a test fills, and whose other requests all end alike.
class ListFixture : public ServiceFixture {
public:
    explicit ListFixture(std::string items) : list(std::move(items)) {
        http.handler = [this](const HTTPRequest& request) -> Result<HTTPResponse> {
            if (request.url.ends_with("/list")) {
                const std::string items = "[" + list + "]";
                return HTTPResponse{listStatus,
                                    R"({"transfers":)" + items + R"(,"feeds":)" + items + R"(,"status":"OK"})"};
            }
            actions.push_back(request.url.substr(api.baseURL().size()) + " " + request.body);
            return HTTPResponse{actionStatus, R"({"transfer":{"id":9},"feed":{"id":9},"status":"OK"})"};
        };
    }

    [[nodiscard]] static std::string failureMessage(const ActionDialogs& dialogs) {
        return dialogs.failure() ? dialogs.failure()->message : "";
    }

    std::string list;  // its items, with commas between them
    int listStatus = 200;
    int actionStatus = 200;
    std::vector<std::string> actions;  // "/rss/pause id=1": the other requests, as they were answered
};

}  // namespace tovri::test
