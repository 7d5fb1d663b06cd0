#include "cli/TerminalSignIn.h"

#include <fmt/format.h>

#include "base/Trimmed.h"
#include "cli/display/DisplayText.h"

namespace tovri::cli {

Subscription TerminalSignIn::authenticate(const std::string& url, const std::string& callbackScheme, Done done) {
    terminal_.print("Open this address in a browser and sign in:");
    terminal_.print(printable(url));
    const std::string question = fmt::format(
        "Then copy the address to which the browser is sent, which begins with {}:, and paste it here\n(it holds your "
        "access token and is not shown): ",
        callbackScheme);
    auto receive = [done = std::move(done), callbackScheme](std::optional<std::string> line) mutable {
        std::optional<std::string> address;
        if (line && !trimmed(*line).empty()) address = trimmed(*line);
        if (address && !address->starts_with(callbackScheme + ":"))
            return done(failure(Error(ErrorCase::noCallback, fmt::format("The address must begin with {}: and hold the "
                                                                         "token. Try again with: tovri-cli login",
                                                                         callbackScheme))));
        done(std::move(address));
    };
    return terminal_.ask(question, Terminal::Echo::hidden, std::move(receive));
}

}  // namespace tovri::cli
