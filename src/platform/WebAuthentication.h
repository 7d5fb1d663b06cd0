#pragma once

#include <functional>
#include <optional>
#include <string>

#include "base/Result.h"
#include "base/Subscription.h"

namespace tovri {

// Lets the user sign in on a web page and catches the address to which the page redirects at its end.
class WebAuthentication {
public:
    using Done = std::move_only_function<void(Result<std::optional<std::string>>)>;

    virtual ~WebAuthentication() = default;

    // Hands over the redirect's address, which begins with `callbackScheme` and a colon; none when the user closed the
    // page. Taking the subscription back withdraws the question.
    virtual Subscription authenticate(const std::string& url, const std::string& callbackScheme, Done done) = 0;
};

}  // namespace tovri
