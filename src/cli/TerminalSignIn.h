#pragma once

#include "cli/Terminal.h"
#include "platform/WebAuthentication.h"

namespace tovri::cli {

// Signs in without a browser of its own: shows the page's address, and the user pastes back the one to which the page
// redirects. That one holds the token, so it is not shown.
class TerminalSignIn final : public WebAuthentication {
public:
    // `terminal` outlives this.
    explicit TerminalSignIn(Terminal& terminal) : terminal_(terminal) {}

    Subscription authenticate(const std::string& url, const std::string& callbackScheme, Done done) override;

private:
    Terminal& terminal_;
};

}  // namespace tovri::cli
