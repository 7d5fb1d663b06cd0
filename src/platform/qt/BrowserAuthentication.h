#pragma once

#include "platform/WebAuthentication.h"
#include "platform/Workspace.h"

namespace tovri {

// Opens the sign-in page in the user's browser. Its redirect comes back by way of the scheme's handler, which knows
// nothing of who asked, and a page that was closed tells nobody: the answer never comes here.
class BrowserAuthentication final : public WebAuthentication {
public:
    // `workspace` outlives this.
    explicit BrowserAuthentication(Workspace& workspace) : workspace_(workspace) {}

    Subscription authenticate(const std::string& url, const std::string& /*callbackScheme*/, Done done) override {
        workspace_.openWebAddress(url);
        return Subscription([done = std::move(done)] {});
    }

private:
    Workspace& workspace_;
};

}  // namespace tovri
